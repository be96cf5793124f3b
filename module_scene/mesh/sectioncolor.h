// The colour of what lies inside a body.
#pragma once

#include <cstdint>
#include <vector>

#include "module_scene/graph/geometry.h"

namespace nubo::scene {

/// The material of faces that close a cut through a geometry's: its own without textures, in the mean of the colours
/// that these and the vertices' have at some of the vertices.
util::YPointer<Material> sectionMaterial(const Geometry& cut, const std::vector<std::uint32_t>& vertices);

}  // namespace nubo::scene
