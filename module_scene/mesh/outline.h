// Which points of a mesh decide how much room it takes in a view.
#pragma once

#include <vector>

#include "module_scene/graph/geometry.h"

namespace nubo::scene {

/// x y z of those vertices of each cluster that stand out farthest along the axes and between them.
std::vector<float> outlineOf(const std::vector<float>& positions, const std::vector<Cluster>& clusters);

}  // namespace nubo::scene
