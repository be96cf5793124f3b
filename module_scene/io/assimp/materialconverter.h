// Brings materials of all kinds down to what fixed-function lighting knows.
#pragma once

#include "module_scene/graph/material.h"

struct aiMaterial;

namespace nubo::io {

class TextureLoader;

/// `linearColors`: colours are linear light (glTF), not display values.
util::YPointer<scene::Material> convertMaterial(const aiMaterial& source, bool linearColors, TextureLoader& textures);

/// A linear component as a display value (sRGB), both 0 to 1.
float displayValue(float linear);

}  // namespace nubo::io
