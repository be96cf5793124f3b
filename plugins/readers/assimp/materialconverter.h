// Materials and textures of what Assimp read.
#pragma once

#include "module_scene/io/reader/reader.h"

struct aiScene;

namespace nubo::reader {

/// Fills in the model's materials, one per material of the source, and its textures and images. `linear`: the source's
/// colours are linear light.
void convertMaterials(const aiScene& source, bool linear, Model& model, Output& output);

/// A linear component as a display value (sRGB), both 0 to 1.
float displayValue(float linear);

}  // namespace nubo::reader
