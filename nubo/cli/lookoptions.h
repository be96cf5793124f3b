// What a call says about how its scene is drawn.
#pragma once

#include "module_scene/graph/scene.h"

namespace nubo::app {

struct CommandLine;

/// Sets what the line says. Returns the empty text, or one line that says what cannot be had.
[[nodiscard]] QString applyLook(const CommandLine& line, scene::Scene& scene);

}  // namespace nubo::app
