// What a scene's name on the command line, or in the window, stands for.
#pragma once

#include "module_scene/io/importer.h"

namespace nubo::app {

struct CommandLine;

/// Reads a model file or, under its name, the built-in scene with its animation; fails as importFile does. Any thread.
[[nodiscard]] io::ImportResult readScene(const QString& name, io::ImportControl& control);
/// How long a reader may get no further, as a line says.
void setPatience(io::ImportControl& control, const CommandLine& line);

}  // namespace nubo::app
