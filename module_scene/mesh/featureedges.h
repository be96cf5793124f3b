// The lines of a surface that a draughtsman would draw.
#pragma once

#include "module_scene/graph/geometry.h"

namespace nubo::scene {

/// Where the surface of prepared faces has a crease, as it is lit, or a border, and where more than two faces meet:
/// thin black lines, or null where there are none. Found when first asked for, which takes about a second for two
/// million faces, and kept with the geometry. Any thread.
NUBO_MODULE_SCENE_EXPORT util::YPointer<Geometry> featureEdges(const Geometry& faces);

/// Has faces' edges be these lines, which are known better than they could be found. They become thin and black, and
/// are prepared here. Any thread, before the faces are part of a scene.
NUBO_MODULE_SCENE_EXPORT void setFeatureEdges(const Geometry& faces, const util::YPointer<Geometry>& lines);

}  // namespace nubo::scene
