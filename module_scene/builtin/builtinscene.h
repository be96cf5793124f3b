// A scene to try things with.
#pragma once

#include "module_scene/graph/sceneelement.h"

namespace nubo::scene {

/// A scene without a file: thin edges, text-like detail, transparency, texture, a dark and a light part,
/// points and lines. A new tree each call.
NUBO_MODULE_SCENE_EXPORT util::YPointer<SceneElement> createBuiltinScene();

}  // namespace nubo::scene
