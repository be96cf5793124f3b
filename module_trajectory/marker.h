// What moves along a list of points when nothing of the model does.
#pragma once

#include "module_trajectory/trajectory.h"

namespace nubo::trajectory {

/// Adds a small ball (LayerMarkers) at the first of the points and a line through all of them
/// (LayerTrajectory) to the global scene and returns the ball, to be moved by a TrajectoryInfo. The ball's
/// radius is a hundredth of the diagonal of scene and points. Null if there is no scene or no point. Any
/// thread; takes the scene's lock.
[[nodiscard]] NUBO_MODULE_TRAJECTORY_EXPORT util::YPointer<scene::SceneElement> createMarker(
    const std::deque<Point>& points);

}  // namespace nubo::trajectory
