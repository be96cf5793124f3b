// What of a scene lies under a pixel.
#pragma once

#include <QPointF>
#include <QSize>
#include <optional>

#include "module_scene/graph/scene.h"
#include "module_scene/gui/camera.h"

namespace nubo::gui {

/// A line of sight in the scene's space: from a point on, along a direction of any length, which it covers in a time of
/// 1. Points, which have no size, are met where they lie no farther from it than it is thick.
struct Ray {
  math::Vector3 from{}, along{};
  double thickness = 0, thicker = 0;  ///< at the beginning, and by how much in a time of 1

  double thicknessAt(double time) const { return thickness + thicker * time; }
};

/// The line of sight through a place in a panel, in pixels from its upper left corner, some pixels thick. `widening`:
/// how much more the panel shows than pictures of it do.
NUBO_MODULE_SCENE_EXPORT Ray rayThrough(const QPointF& place, const QSize& panel, const Camera& camera,
                                        double widening = 1);
/// Where the ray first meets a visible face that the scene's section has left, or the visible point that it first
/// meets. The caller holds the scene's lock.
NUBO_MODULE_SCENE_EXPORT std::optional<math::Vector3> pick(const scene::Scene& scene, const Ray& ray);

}  // namespace nubo::gui
