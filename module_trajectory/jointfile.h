// Trajectories from text files of joints' values.
#pragma once

#include <QString>

#include "module_trajectory/trajectory.h"

namespace nubo::trajectory {

/// Whether the first line of an ordinary file names joints of elements below `root`. The scene is locked, or nobody
/// else has it.
[[nodiscard]] NUBO_MODULE_TRAJECTORY_EXPORT bool namesJoints(const QString& fileName, scene::SceneElement& root);

/// Reads a step a line: values in radians and metres, in the order in which the first line names the joints; columns
/// with other names are passed over. Each step has a transform of each element that one of the joints moves, and of
/// those that follow them. On failure null, and `error` is one line with the file's name and, where the content is at
/// fault, the number of the line. The scene as above.
[[nodiscard]] NUBO_MODULE_TRAJECTORY_EXPORT std::unique_ptr<AdvancedTrajectoryInfo> readJointFile(
    const QString& fileName, scene::SceneElement& root, QString& error);

}  // namespace nubo::trajectory
