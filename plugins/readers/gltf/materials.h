// Materials, textures and images of glTF files.
#pragma once

#include <tiny_gltf.h>

#include "module_scene/io/reader/reader.h"

namespace nubo::reader {

/// Fills in the model's materials, textures and images, with the numbers that they have in the file.
void convertMaterials(const tinygltf::Model& source, Output& output);

/// A linear component as a display value (sRGB), both 0 to 1.
float displayValue(double linear);

}  // namespace nubo::reader
