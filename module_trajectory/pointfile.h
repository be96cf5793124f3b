// Trajectories from text files of points.
#pragma once

#include <QString>

#include "module_trajectory/trajectory.h"

namespace nubo::trajectory {

/// Reads a point a line: x, y, z and, if given, a fourth value (else 0), with decimal points, separated by
/// commas, semicolons or white space. Empty lines and what follows a # are ignored, and so is a first line
/// of names. On failure the list is empty and `error` is one line with the file's name and, where the
/// content is at fault, the number of the line. Any thread.
[[nodiscard]] NUBO_MODULE_TRAJECTORY_EXPORT std::deque<Point> readPointFile(const QString& fileName, QString& error);

}  // namespace nubo::trajectory
