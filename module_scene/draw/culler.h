// Decides what a view can show.
#pragma once

#include <array>
#include <cmath>
#include <limits>

#include "module_scene/draw/viewquery.h"
#include "module_scene/mesh/boxtree.h"

namespace nubo::scene {

/// Decides about boxes, which may be clusters, in the space that a matrix brings to eye space.
class Culler {
 public:
  /// `margin`: pixels around the view that belong to it.
  Culler(const ViewQuery& query, const math::Matrix4& modelView, int margin) : m_Detail(query.detail) {
    const math::Matrix4 clip = extended(query.projection, query.width, query.height, margin) * modelView;
    for (std::size_t plane = 0; plane < FrustumPlanes; ++plane)
      for (int column = 0; column < 4; ++column)
        m_Planes[plane][column] = clip(3, column) + (plane % 2 ? -1 : 1) * clip(int(plane / 2), column);
    for (int column = 0; column < 4; ++column) m_W[column] = clip(3, column);
    if (query.cut) {
      const Plane cut = query.cut->before(modelView);
      m_Planes[m_PlaneCount++] = {-cut.normal[0], -cut.normal[1], -cut.normal[2], cut.distance};
    }
    m_PixelsPerUnit =
        0.5 * query.height * std::abs(query.projection(1, 1)) * std::cbrt(std::abs(determinant(modelView)));
  }

  /// Of the box with the view: as far as each of its planes tells, so that Part may be None.
  template <class Box>
  Overlap overlap(const Box& box) const {
    Overlap result = Overlap::Whole;
    for (std::size_t i = 0; i < m_PlaneCount; ++i) {
      if (farthest(m_Planes[i], box.max, box.min) < 0) return Overlap::None;
      if (farthest(m_Planes[i], box.min, box.max) < 0) result = Overlap::Part;
    }
    return result;
  }

  template <class Box>
  bool isBeyondNearPlane(const Box& box) const {
    return farthest(m_Planes[4], box.min, box.max) > 0;
  }

  /// Whether a part of the box lies beyond the plane that cuts the view.
  template <class Box>
  bool isCut(const Box& box) const {
    return m_PlaneCount > FrustumPlanes && farthest(m_Planes[FrustumPlanes], box.min, box.max) < 0;
  }

  double detail() const { return m_Detail; }
  /// Whether a length anywhere in the box is less than that many pixels.
  template <class Box>
  bool isSmaller(double length, const Box& box, double pixels) const {
    const double distance = farthest(m_W, box.min, box.max);
    return distance > 0 && length * m_PixelsPerUnit < pixels * distance;
  }
  /// Most pixels that a length anywhere in the box takes.
  template <class Box>
  double pixelsOf(double length, const Box& box) const {
    const double distance = farthest(m_W, box.min, box.max);
    return distance > 0 ? length * m_PixelsPerUnit / distance : std::numeric_limits<double>::infinity();
  }
  /// Whether all of the box lies within a pixel or so.
  template <class Box>
  bool isUnseen(const Box& box) const {
    return isSmaller(2 * radius(box), box, 1);
  }

  template <class Box>
  static double radius(const Box& box) {
    double sum = 0;
    for (int i = 0; i < 3; ++i) sum += std::pow(double(box.max[i]) - box.min[i], 2);
    return 0.5 * std::sqrt(sum);
  }

 private:
  using Vector4 = std::array<double, 4>;

  // The plane's value at that corner of the box where it is largest, or with swapped corners, least.
  template <class Corner>
  static double farthest(const Vector4& plane, const Corner& high, const Corner& low) {
    double value = plane[3];
    for (int i = 0; i < 3; ++i) value += plane[i] * (plane[i] > 0 ? high[i] : low[i]);
    return value;
  }

  static constexpr std::size_t FrustumPlanes = 6;
  std::array<Vector4, FrustumPlanes + 1> m_Planes;  ///< the last is that of the cut, if there is one
  std::size_t m_PlaneCount = FrustumPlanes;
  Vector4 m_W;
  double m_Detail;
  double m_PixelsPerUnit;
};

}  // namespace nubo::scene
