// What tinygltf cannot read of files that extensions pack, and is not to read of binary ones.
#pragma once

#include <string>
#include <vector>

namespace nubo::reader {

/// The name of a file that stands for what is not in the text, which holds one byte; and of an image's extra property,
/// the number of the view in which its bytes lie.
constexpr const char* NoContent = "nubo-no-content";

/// Takes the indices from primitives that Draco has packed, which bring their own, and gives that file to buffers that
/// lie in a binary file, or stand only for what is packed elsewhere, and to images in views. Text files in which
/// nothing is packed stay as they are. `json`: the text of a glTF file.
void mend(std::vector<unsigned char>& json, bool isBinary);

}  // namespace nubo::reader
