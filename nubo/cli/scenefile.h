// What a scene's name on the command line, or in the window, stands for.
#pragma once

#include "module_scene/io/importer.h"

namespace nubo::app {

/// Reads a model file or, under its name, the built-in scene with its animation; fails as importFile does. Any thread.
[[nodiscard]] io::ImportResult readScene(const QString& name);

}  // namespace nubo::app
