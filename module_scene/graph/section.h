// A plane that cuts a scene open.
#pragma once

#include <algorithm>
#include <utility>

#include "module_scene/graph/copyslot.h"
#include "module_scene/math/matrix.h"
#include "module_scene/visibility.h"

namespace nubo::scene {

/// The points whose product with the normal is `distance`. Beyond it lie those of larger ones.
struct Plane {
  math::Vector3 normal{0, 0, 1};
  double distance = 0;

  /// How far beyond the plane a point lies, in lengths of the normal.
  double beyond(const math::Vector3& p) const {
    return normal[0] * p[0] + normal[1] * p[1] + normal[2] * p[2] - distance;
  }
  /// The same of all points of a box: the least and the most. Not of an empty one.
  template <class Box>
  std::pair<double, double> rangeOf(const Box& box) const {
    std::pair<double, double> result(-distance, -distance);
    for (std::size_t i = 0; i < 3; ++i) {
      const double a = normal[i] * double(box.min[i]), b = normal[i] * double(box.max[i]);
      result.first += std::min(a, b);
      result.second += std::max(a, b);
    }
    return result;
  }
  /// The plane of those points that the affine matrix brings into this one.
  Plane before(const math::Matrix4& m) const {
    Plane result;
    for (int i = 0; i < 3; ++i)
      result.normal[std::size_t(i)] = normal[0] * m(0, i) + normal[1] * m(1, i) + normal[2] * m(2, i);
    result.distance = -beyond({m(0, 3), m(1, 3), m(2, 3)});
    return result;
  }
  bool operator==(const Plane& o) const { return normal == o.normal && distance == o.distance; }
};

/// Takes away what of a scene lies beyond a plane, in the space that the scene's root is in. Never changed, so that all
/// who draw with it share what they find, such as the faces that close what is cut.
class Section : public util::YObject {
 public:
  explicit Section(const Plane& plane) : m_Plane(plane) {}
  const Plane& plane() const { return m_Plane; }
  CopySlot& copySlot() const { return m_CopySlot; }

 private:
  const Plane m_Plane;
  mutable CopySlot m_CopySlot;
};

}  // namespace nubo::scene
