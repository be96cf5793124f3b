// Where things are: boxes along the axes.
#pragma once

#include <algorithm>
#include <limits>

#include "module_scene/math/matrix.h"

namespace nubo::scene {

/// An axis-aligned box; a new one is empty.
struct BoundingBox {
  math::Vector3 min{std::numeric_limits<double>::infinity(), std::numeric_limits<double>::infinity(),
                    std::numeric_limits<double>::infinity()};
  math::Vector3 max{-min[0], -min[1], -min[2]};

  bool isEmpty() const { return min[0] > max[0]; }
  void add(const math::Vector3& p) {
    for (int i = 0; i < 3; ++i) {
      min[i] = std::min(min[i], p[i]);
      max[i] = std::max(max[i], p[i]);
    }
  }
  void add(const BoundingBox& other) {
    if (other.isEmpty()) return;
    add(other.min);
    add(other.max);
  }
  /// The box around this box's corners after the transform.
  BoundingBox transformed(const math::Matrix4& m) const {
    BoundingBox result;
    if (isEmpty()) return result;
    for (int corner = 0; corner < 8; ++corner)
      result.add(math::transformPoint(
          m, {corner & 1 ? max[0] : min[0], corner & 2 ? max[1] : min[1], corner & 4 ? max[2] : min[2]}));
    return result;
  }
};

}  // namespace nubo::scene
