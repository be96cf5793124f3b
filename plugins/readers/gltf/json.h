// The text of a glTF file as values, which RapidJSON keeps.
#pragma once

#include "module_scene/io/reader/reader.h"

// What RapidJSON takes for a mistake of the program may come from a damaged file, in which tinygltf finds something
// else than it expects: without this, a release build would go on with memory that is no such thing.
#define RAPIDJSON_ASSERT(holds) \
  if (!(holds)) throw nubo::reader::Refusal("its content is not understood")

#include <rapidjson/document.h>

namespace nubo::reader {

/// The values of a glTF file's text, in which each object has only one member of a name: where the text has several,
/// the last. Throws Refusal, which tells where, for what is no JSON, and where lists and objects are nested so deeply
/// that what goes through them by calling itself would run out of stack.
rapidjson::Document parsed(const std::vector<unsigned char>& text);

}  // namespace nubo::reader
