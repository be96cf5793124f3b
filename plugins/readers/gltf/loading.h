// tinygltf, without what it does to pictures and with values that have been parsed.
#pragma once

#include <tiny_gltf.h>

#include "plugins/readers/gltf/json.h"

namespace nubo::reader {

/// Makes a model of the values of a file's text, which are used up. `loader`: with the calls for files and images;
/// `folder`: where the files lie that it names. Throws Refusal. One file at a time, of all threads: tinygltf has only
/// one document, in whose memory all values are.
void load(rapidjson::Document gltf, const std::string& folder, tinygltf::TinyGLTF& loader, tinygltf::Model& model);

}  // namespace nubo::reader
