// The movement of the built-in scene.
#pragma once

#include "module_scene/graph/animation.h"

namespace nubo::scene {

/// Moves a built-in scene's gears, wheel and arm: 300 steps at 25 frames per second, after which it would begin
/// anew without a jump. `root` is what createBuiltinScene() made.
NUBO_MODULE_SCENE_EXPORT Animation createBuiltinAnimation(SceneElement& root);

}  // namespace nubo::scene
