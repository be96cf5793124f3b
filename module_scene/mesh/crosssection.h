// The faces that close what a plane cuts.
#pragma once

#include <vector>

#include "module_scene/graph/geometry.h"
#include "module_scene/graph/section.h"

namespace nubo::scene {

/// What a plane cuts of one body, or of several that are one geometry.
struct SectionFace {
  util::YPointer<Geometry> faces;  ///< in the plane, looking to where its normal points
  double area = 0;
};

struct CrossSection {
  std::vector<SectionFace> faces;
  bool open = false;  ///< the surface has a border where it is cut, and is not closed there
};

/// Of prepared geometries of one space, of those that are faces: each that is closed by itself, and the others
/// together, since they may be a body's surface. What is enclosed has the colour of the geometry that most of its
/// outlines come from: textures and vertices' colours give their mean. Finds only what lies in clusters that the plane
/// meets. Any thread.
NUBO_MODULE_SCENE_EXPORT CrossSection crossSection(const std::vector<util::YPointer<Geometry>>& geometries,
                                                   const Plane& plane);

}  // namespace nubo::scene
