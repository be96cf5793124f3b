// A trajectory for any model: once around.
#pragma once

#include <memory>

#include "module_trajectory/trajectory.h"

namespace nubo::trajectory {

/// Turns the global scene's root about the vertical axis through the middle of its box, anticlockwise seen
/// from above; step k of `steps` stands at 360 * k / steps degrees, so that the last goes over into the
/// first. Null if there are no steps or nothing to turn. Any thread; takes the scene's lock.
[[nodiscard]] NUBO_MODULE_TRAJECTORY_EXPORT std::unique_ptr<AdvancedTrajectoryInfo> createTurntable(int steps);

}  // namespace nubo::trajectory
