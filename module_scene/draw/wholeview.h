// The whole view, of which a drawer may see one part after the other.
#pragma once

#include "module_scene/draw/viewpoint.h"

namespace nubo::scene {

/// What a projection shows, in the plane at distance 1 before the eye; in parallel, in every plane across the view.
struct ViewWindow {
  double left = 0, right = 0, bottom = 0, top = 0;

  static ViewWindow of(const Viewpoint& viewpoint);
  /// The whole view if this is its lower left part, as it is of the first tile of a picture, or the whole itself: views
  /// are symmetric. There is more around it, since what lies outside of a view shows in it, too.
  ViewWindow whole() const;
  /// Whether it shows all that another does.
  bool holds(const ViewWindow& other) const;
  double width() const { return right - left; }
  double height() const { return top - bottom; }
};

/// A straight line's factor and offset in x and in y.
struct LinearMap {
  double factor[2]{1, 1}, offset[2]{0, 0};
};

/// From the normalised coordinates, -1 to 1, of one window to those of another.
LinearMap between(const ViewWindow& from, const ViewWindow& to);
/// The projection that differs in its window only.
math::Matrix4 projectionOf(const Viewpoint& viewpoint, const ViewWindow& window);

}  // namespace nubo::scene
