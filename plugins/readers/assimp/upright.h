// Which way is up in a file.
#pragma once

#include <assimp/matrix4x4.h>

#include <string>

struct aiScene;

namespace nubo::reader {

/// Turns what Assimp read of a file so that x points to the right, and z up.
aiMatrix4x4 uprightFor(const std::string& format, const aiScene& scene);

}  // namespace nubo::reader
