// Whether a DirectX file can be given to Assimp.
#pragma once

#include <QString>

namespace nubo::io {

/// Throws ImportError for a DirectX file whose faces, normals or bones name vertices that are not there, which Assimp
/// would follow all the same. Passes files of other formats and, unseen, compressed ones. Any thread.
void checkXFile(const QString& fileName);

}  // namespace nubo::io
