// The faces that close what a plane cuts.
#pragma once

#include <vector>

#include "module_scene/graph/geometry.h"
#include "module_scene/graph/section.h"

namespace nubo::scene {

struct CrossSection {
  util::YPointer<Geometry> faces;  ///< in the plane, looking to where its normal points; null: none
  bool open = false;               ///< the surface has a border where it is cut, and is not closed there
};

/// Of prepared geometries of one space, which together may be a body's surface: of those that are faces. What their
/// outlines enclose has the colour of the geometry that most of them come from, as far as there is one: textures and
/// vertices' colours give their mean. Finds only what lies in clusters that the plane meets. Any thread.
NUBO_MODULE_SCENE_EXPORT CrossSection crossSection(const std::vector<util::YPointer<Geometry>>& geometries,
                                                   const Plane& plane);

}  // namespace nubo::scene
