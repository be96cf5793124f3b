// Finds the view that shows something centred and as large as it fits.
#pragma once

#include <optional>

#include "module_scene/graph/sceneelement.h"
#include "module_scene/graph/section.h"
#include "module_scene/gui/camera.h"
#include "module_scene/gui/slabs.h"

namespace nubo::gui {

/// Gathers, as seen from a camera's direction, what a view shall show: a scene as it stands, or at all the steps that
/// it moves through. Cameras keep their direction, and have the usual lens. Knows the shapes, not only their boxes. A
/// value without an owner's thread.
class NUBO_MODULE_SCENE_EXPORT Framing {
 public:
  /// `box` is that of the scene at some time. What lies beyond the plane of a section does not count.
  Framing(const Camera& direction, const scene::BoundingBox& box, const std::optional<scene::Plane>& section = {});
  /// All that is visible in and below the element, where it stands now; `parent` is where its parent stands. The caller
  /// holds the scene's lock.
  void add(const scene::SceneElement& element, const math::Matrix4& parent = math::Matrix4());
  /// The same while it turns about the vertical axis through the middle of the box, which the cameras then look at.
  void addTurning(const scene::SceneElement& element, const math::Matrix4& parent = math::Matrix4());
  /// For a view of this size; the direction's camera as it is while nothing was added. In the middle of the view lies
  /// all that was added, or what was added to `centred`, a part of it that is seen from the same direction. `margin` is
  /// the part of the view that is left free at each of its sides, from 0 to 0.45.
  Camera camera(int width, int height, const Framing* centred = nullptr, double margin = Camera::UsualMargin) const;
  /// Whether the same was gathered, from the same direction.
  bool gatheredLike(const Framing& other) const;

 private:
  /// What lies between two planes across the line of sight.
  struct Slice {
    std::array<double, 2> least, most;  ///< to the right and up; empty: least > most

    bool operator==(const Slice& o) const { return least == o.least && most == o.most; }
  };

  void add(const math::Vector3& point);
  bool covers(const scene::BoundingBox& box) const;
  double front(std::size_t slice) const { return m_Slices.begin(slice) + m_Slices.thickness(); }
  scene::BoundingBox extent() const;
  double closest(int axis, double slope) const;
  double closest(int axis, double slope, double place) const;
  double middle(int axis, double eye) const;

  Camera m_Direction;
  std::optional<scene::Plane> m_Section;
  bool m_Turns = false;
  math::Vector3 m_Middle;  ///< of the box
  math::Matrix4 m_ToView;  ///< moves that to the origin and turns it so that z points to the eye
  Slabs<Slice> m_Slices;   ///< by depth
};

}  // namespace nubo::gui
