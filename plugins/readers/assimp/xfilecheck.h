// Whether a DirectX file can be given to Assimp.
#pragma once

#include <string>

namespace nubo::reader {

/// Throws Refusal for a DirectX file whose faces, normals or bones name vertices that are not there, which Assimp
/// would follow all the same. Passes files of other formats and, unseen, compressed ones.
void checkXFile(const std::string& fileName);

}  // namespace nubo::reader
