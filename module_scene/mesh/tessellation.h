// Triangles of polygons.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

namespace nubo::scene {

struct Tessellation {
  std::vector<std::uint32_t> triangles;       ///< three places each, counter-clockwise
  std::vector<std::array<double, 2>> points;  ///< those of the caller, and then where loops cross
};

/// Of what loops of places enclose, holes and islands included: what they run around any number of times that is not
/// zero, or if `odd`, not even.
Tessellation tessellate(const std::vector<std::array<double, 2>>& points,
                        const std::vector<std::vector<std::uint32_t>>& loops, bool odd);

}  // namespace nubo::scene
