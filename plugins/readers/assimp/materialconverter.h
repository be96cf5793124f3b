// Materials and textures of what Assimp read.
#pragma once

#include "module_scene/io/reader/reader.h"

struct aiScene;

namespace nubo::reader {

/// Fills in the model's materials, one per material of the source, and its textures and images.
void convertMaterials(const aiScene& source, Model& model, Output& output);

}  // namespace nubo::reader
