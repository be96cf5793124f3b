// Materials, textures and images of glTF files.
#pragma once

#include "plugins/readers/gltf/accessors.h"

namespace nubo::reader {

/// Fills in the model's materials, textures and images, with the numbers that they have in the file. Throws Refusal.
void convertMaterials(const tinygltf::Model& source, Accessors& accessors, Output& output);

/// A linear component as a display value (sRGB), both 0 to 1.
float displayValue(double linear);

}  // namespace nubo::reader
