// Which trajectory the scene is moved along.
#pragma once

#include <QString>
#include <functional>
#include <vector>

#include "module_scene/graph/animation.h"
#include "nubo/cli/commandline.h"

namespace nubo::app {

/// Steps a second at which trajectories are played: the frame rate of the video settings.
int playingRate();

/// Selects the trajectory that the options name, else the scene's own animations, sampled at the frame rate of the
/// video settings (those that move the same elements are choices, of which the first is taken), else a turntable of ten
/// seconds; only the steps asked for, at whose first the scene then stands. `look`, if any, is called while the scene
/// stands at steps that stand for all of the whole trajectory. The scene is in place; application thread. The empty
/// text, or one line that says what is wrong.
[[nodiscard]] QString chooseTrajectory(const CommandLine& line, const std::vector<scene::Animation>& animations,
                                       const std::function<void()>& look = nullptr);

}  // namespace nubo::app
