// The lines of a surface that a draughtsman would draw.
#pragma once

#include "module_scene/graph/geometry.h"

namespace nubo::scene {

/// Where the surface of prepared faces has a crease, as it is lit, or a border, and where more than two faces meet:
/// thin black lines, or null where there are none. Found when first asked for, which takes about a second for two
/// million faces, and kept with the geometry. Any thread.
NUBO_MODULE_SCENE_EXPORT util::YPointer<Geometry> featureEdges(const Geometry& faces);

}  // namespace nubo::scene
