// Trajectories from the animations of model files.
#pragma once

#include <memory>
#include <vector>

#include "module_scene/graph/animation.h"
#include "module_trajectory/trajectory.h"

namespace nubo::trajectory {

/// Samples all animations, played together from their begin, `framesPerSecond` times a second; the first
/// step is time 0 and the last one the end of the longest. Each step holds every animated element. Null,
/// with one line in `error`, if nothing is animated, the rate is not above 0, or there would be more than
/// ten million matrices. Any thread; the elements are not touched.
[[nodiscard]] NUBO_MODULE_TRAJECTORY_EXPORT std::unique_ptr<AdvancedTrajectoryInfo> createAnimationTrajectory(
    const std::vector<scene::Animation>& animations, double framesPerSecond, QString& error);

}  // namespace nubo::trajectory
