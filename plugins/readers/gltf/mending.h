// What tinygltf cannot read of files that extensions pack.
#pragma once

#include <string>
#include <vector>

namespace nubo::reader {

/// The name of a file that stands for buffers without content, which holds one byte.
constexpr const char* NoContent = "nubo-no-content";

/// Takes the indices from primitives that Draco has packed, which bring their own, and gives buffers that only stand
/// for what is packed elsewhere a file. Other files stay as they are. `bytes`: of a glTF file, binary or not.
void mendPacked(std::vector<unsigned char>& bytes);

}  // namespace nubo::reader
