// What shows a list of points, and moves along it when nothing of the model does.
#pragma once

#include "module_trajectory/trajectory.h"

namespace nubo::trajectory {

/// Adds a line through the points (LayerTrajectory) below the global scene's root, which is made where there is none.
/// Nothing if there is no scene or no point. Any thread; takes the scene's lock.
NUBO_MODULE_TRAJECTORY_EXPORT void createPath(const std::deque<Point>& points);

/// Adds such a line with a small ball (LayerMarkers) at the first of the points and returns the ball, to be moved by a
/// TrajectoryInfo. The ball's radius is a hundredth of the diagonal of scene and points. Null if there is no scene or
/// no point. Any thread; takes the scene's lock.
[[nodiscard]] NUBO_MODULE_TRAJECTORY_EXPORT util::YPointer<scene::SceneElement> createMarker(
    const std::deque<Point>& points);

}  // namespace nubo::trajectory
