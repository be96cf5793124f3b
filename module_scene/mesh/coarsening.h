// Coarser versions of big geometries, for views that move.
#pragma once

#include "module_scene/graph/sceneelement.h"

namespace nubo::scene {

/// Where there are many primitives in and below `root`, gives geometries coarse versions of a tenth of their faces or
/// points or so, which keep outlines, textures and normals. Before any of it is drawn; any thread, uses all cores.
NUBO_MODULE_SCENE_EXPORT void makeCoarseVersions(const SceneElement& root);

}  // namespace nubo::scene
