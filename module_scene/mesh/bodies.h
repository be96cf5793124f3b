// Boxes in the place of parts of few pixels.
#pragma once

#include <array>

#include "module_scene/graph/geometry.h"

namespace nubo::scene {

/// Of all faces, in the geometry's own units: as some of them tell, if there are thousands.
double areaOf(const Geometry& geometry);

/// Makes one geometry of boxes, each with a colour. Any thread.
class Bodies {
 public:
  using Color = std::array<float, 4>;

  /// The material of all, but for its colour; whether it is to be lit; and the point from which coordinates are
  /// counted: they are small then, and exact enough as floats.
  Bodies(const util::YPointer<Material>& material, bool lit, const math::Vector3& origin);

  /// Adds a box for what lies in it and has so much surface, at an invertible, affine place. It is made so small that
  /// it has no more itself: then there is as much to be seen of it, from all sides together (Cauchy's formula).
  void add(const BoundingBox& box, double area, const math::Matrix4& place, const Color& color);
  /// What was added, ready to be drawn as one cluster.
  util::YPointer<Geometry> finish();
  /// How far anything that a box stands for lies from the box's middle, at most.
  double reach() const { return m_Reach; }

 private:
  const util::YPointer<Geometry> m_Result{new Geometry};
  const bool m_Lit;
  const math::Matrix4 m_FromOrigin;
  double m_Reach = 0;
};

}  // namespace nubo::scene
