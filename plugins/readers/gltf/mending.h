// What tinygltf cannot read, or is not to read, and is told otherwise.
#pragma once

#include "plugins/readers/gltf/json.h"

namespace nubo::reader {

/// The name of a file that stands for what is not in the text, which holds one byte; and of an image's extra property,
/// the number of the view in which its bytes lie.
constexpr const char* NoContent = "nubo-no-content";

/// Takes the indices from primitives that Draco has packed, which bring their own, and gives that file to buffers that
/// lie in a binary file, or stand only for what is packed elsewhere, and to images in views.
void mend(rapidjson::Document& gltf);

}  // namespace nubo::reader
