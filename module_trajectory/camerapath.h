// Ways of a camera, from text files.
#pragma once

#include <QString>
#include <deque>

#include "module_scene/math/matrix.h"
#include "module_trajectory/visibility.h"

namespace nubo::trajectory {

/// Where a camera stands, and what it looks at; in the scene's coordinates.
struct CameraPlace {
  math::Vector3 eye;
  math::Vector3 target;
};

/// Reads a place a line: the time in seconds, which grows from line to line, then x, y, z of the eye and x, y, z of
/// what it looks at, written as the points of readPointFile() are. Eye and target pass through all places, on curves
/// without corners, on which speeds change only gradually (cubic Hermite splines whose tangents are those of the
/// parabola through a place and its neighbours); a path that ends where it began goes on there without a corner, too.
/// The result are the places at `stepsPerSecond`, the first line's being the first, and the last line's, or what comes
/// just before it, the last. On failure, also where the eye stands in its target, the list is empty, and `error` is one
/// line with the file's name and, where the content is at fault, the number of the line. Any thread.
[[nodiscard]] NUBO_MODULE_TRAJECTORY_EXPORT std::deque<CameraPlace> readCameraPath(const QString& fileName,
                                                                                   double stepsPerSecond,
                                                                                   QString& error);

}  // namespace nubo::trajectory
