// Point clouds as the Point Cloud Library writes them (PCD 0.7).
#pragma once

#include <string>

#include "module_scene/io/reader/reader.h"

namespace nubo::reader {

/// Reads all three codings. Throws Refusal.
void readPcd(const std::string& name, Output& output);

}  // namespace nubo::reader
