// The pictures that a model names.
#pragma once

#include <string>

#include "module_scene/io/reader/reader.h"

namespace nubo::read {

/// Finds and reads the files of the output's images, all that Qt can read, and leaves their pixels in their place. What
/// cannot be had is a warning, and has no pixels.
void readImages(const std::string& modelFile, reader::Output& output);

}  // namespace nubo::read
