// The points of a scene that decide how much room it takes in a view.
#pragma once

#include <algorithm>
#include <optional>

#include "module_scene/graph/sceneelement.h"
#include "module_scene/graph/section.h"

namespace nubo::gui {

/// Calls take(point) with the points that decide how much room is taken by what is visible and what a section leaves of
/// it, in the space that `toSpace` brings the scene's to; but for parts of which passes(box) tells that nothing in
/// their box matters. Keeps what it is given for no longer than the call in which it is made.
template <class Passes, class Take>
class VisiblePoints {
 public:
  VisiblePoints(const math::Matrix4& toSpace, const std::optional<scene::Plane>& section, const Passes& passes,
                const Take& take)
      : m_ToSpace(toSpace), m_Section(section), m_Passes(passes), m_Take(take) {}

  /// What is in and below the element, whose parent stands there. The caller holds the scene's lock.
  void visit(const scene::SceneElement& element, const math::Matrix4& parent) const {
    if (!element.isVisible()) return;
    const math::Matrix4 place = parent * element.getTransform();
    const bool isCut = m_Section && element.getLayer() == scene::LayerModel;
    for (const auto& geometry : element.getGeometries())
      if (isCut)
        visit(*geometry, m_ToSpace * place, m_Section->before(place));
      else
        visit(*geometry, m_ToSpace * place);
    // From all over the element first, so that most of what comes later lies within what has been met.
    constexpr std::size_t Stride = 97;
    const auto& children = element.getChildren();
    for (std::size_t first = 0; first < std::min(Stride, children.size()); ++first)
      for (std::size_t i = first; i < children.size(); i += Stride) visit(*children[i], place);
  }

 private:
  void visit(const scene::Geometry& geometry, const math::Matrix4& own) const {
    if (m_Passes(geometry.box.transformed(own))) return;
    const std::vector<float>& points = geometry.outline.empty() ? geometry.positions : geometry.outline;
    for (std::size_t i = 0; i < points.size(); i += 3)
      m_Take(math::transformPoint(own, {points[i], points[i + 1], points[i + 2]}));
  }

  void visit(const scene::Geometry& geometry, const math::Matrix4& own, const scene::Plane& cut) const {
    if (geometry.box.isEmpty()) return;
    const auto [least, most] = cut.rangeOf(geometry.box);
    if (most <= 0) return visit(geometry, own);
    if (least > 0 || m_Passes(geometry.box.transformed(own))) return;
    const std::size_t corners = geometry.kind == scene::KindFaces ? 3 : geometry.kind == scene::KindLines ? 2 : 1;
    for (const scene::Cluster& cluster : geometry.clusters) {
      scene::BoundingBox box;
      box.add(math::Vector3{cluster.min[0], cluster.min[1], cluster.min[2]});
      box.add(math::Vector3{cluster.max[0], cluster.max[1], cluster.max[2]});
      if (cut.rangeOf(box).first > 0 || m_Passes(box.transformed(own))) continue;
      for (std::size_t i = cluster.first; i < cluster.first + cluster.count; i += corners)
        visitPrimitive(geometry, i, corners, own, cut);
    }
  }

  /// What is left of a face or a line ends where its edges meet the plane.
  void visitPrimitive(const scene::Geometry& geometry, std::size_t first, std::size_t corners, const math::Matrix4& own,
                      const scene::Plane& cut) const {
    const auto pointOf = [&](std::size_t corner) {
      const float* p = &geometry.positions[std::size_t(geometry.indices[first + corner % corners]) * 3];
      return math::Vector3{p[0], p[1], p[2]};
    };
    for (std::size_t corner = 0; corner < corners; ++corner) {
      const math::Vector3 from = pointOf(corner), to = pointOf(corner + 1);
      const double before = cut.beyond(from), after = cut.beyond(to), share = before / (before - after);
      if (before <= 0) m_Take(math::transformPoint(own, from));
      if ((before > 0) == (after > 0)) continue;
      math::Vector3 met = from;
      for (std::size_t i = 0; i < 3; ++i) met[i] += share * (to[i] - from[i]);
      m_Take(math::transformPoint(own, met));
    }
  }

  const math::Matrix4& m_ToSpace;
  const std::optional<scene::Plane>& m_Section;
  const Passes& m_Passes;
  const Take& m_Take;
};

}  // namespace nubo::gui
