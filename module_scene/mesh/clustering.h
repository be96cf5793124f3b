// Sorts primitives into spatial clusters.
#pragma once

#include <cstdint>
#include <vector>

#include "kernel/util/largememory.h"

namespace nubo::scene {

/// An order of primitives in which neighbours in space are neighbours in the list, and where it is cut.
struct Clustering {
  util::Scratch<std::uint32_t> order;  ///< each primitive once
  std::vector<std::uint32_t> ends;     ///< one past each cluster's last place in `order`
};

/// Most primitives of a cluster; few clusters have less than a quarter of it.
constexpr std::uint32_t MaxClusterSize = 1024;

/// `corners` indices make a primitive; positions are finite. The same input gives the same result.
Clustering clusterPrimitives(const std::vector<float>& positions, const std::vector<std::uint32_t>& indices,
                             int corners);

}  // namespace nubo::scene
