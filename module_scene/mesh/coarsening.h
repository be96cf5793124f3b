// Coarser versions of big geometries, for views that move.
#pragma once

#include "module_scene/graph/sceneelement.h"

namespace nubo::scene {

/// Gives each geometry of many primitives in and below `root` coarser versions, which take an eighth of its indices or
/// so. Before any of it is drawn; any thread.
NUBO_MODULE_SCENE_EXPORT void makeCoarseVersions(const SceneElement& root);

}  // namespace nubo::scene
