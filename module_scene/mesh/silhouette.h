// Where smooth shapes end for an eye.
#pragma once

#include "module_scene/graph/geometry.h"

namespace nubo::scene {

/// Where the eye is, and 1; or the direction to one that is infinitely far away, and 0.
struct Eye {
  math::Vector3 place{};
  double nearness = 1;
};

/// The edges of prepared faces at which one turns towards the eye and the other away, but for those that featureEdges()
/// finds: thin black lines, or null where there are none. What can be such an edge is found when first asked for and
/// kept with the faces. Any thread.
NUBO_MODULE_SCENE_EXPORT util::YPointer<Geometry> silhouette(const Geometry& faces, const Eye& eye);

}  // namespace nubo::scene
