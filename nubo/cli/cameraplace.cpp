#include "nubo/cli/cameraplace.h"

#include <algorithm>
#include <cmath>

#include "nubo/cli/commandline.h"
#include "nubo/cli/namedcamera.h"

namespace nubo::app {

namespace {

math::Vector3 middleOf(const scene::BoundingBox& box) {
  math::Vector3 middle{0, 0, 0};
  if (!box.isEmpty())
    for (std::size_t i = 0; i < 3; ++i) middle[i] = (box.min[i] + box.max[i]) / 2;
  return middle;
}

double between(const math::Vector3& a, const math::Vector3& b) {
  return std::hypot(a[0] - b[0], std::hypot(a[1] - b[1], a[2] - b[2]));
}

bool isInside(const math::Vector3& point, const scene::BoundingBox& box) {
  for (std::size_t i = 0; i < 3; ++i)
    if (!(point[i] > box.min[i] && point[i] < box.max[i])) return false;
  return true;
}

/// The one of cameras that show all, unless the eye stands so near that things would be cut off in front of it, or so
/// far that they would behind. Between both there is room for a scene from anywhere.
double scaleFor(const math::Vector3& eye, const scene::BoundingBox& box) {
  const double radius = box.isEmpty() ? 1 : std::max(between(box.min, box.max) / 2, 1e-9);
  const double distance = between(eye, middleOf(box));
  constexpr double Close = 1.1, Depth = 90;
  const bool isUsual = distance > Close * radius && distance < gui::Camera::FarthestDistance * radius;
  return isUsual ? 1 / radius : Depth / (distance + radius);
}

}  // namespace

QString directCamera(const CommandLine& line, const scene::BoundingBox& box, gui::Camera& camera) {
  camera.orthographic = line.orthographic;
  if (!line.view.isEmpty() && !cameraName(line.view) && !camera.setView(line.view))
    return QStringLiteral("--view: unknown");
  if (line.eye && !camera.lookAt(*line.eye, line.target.value_or(middleOf(box))))
    return QStringLiteral("--camera: that is the point that it looks at");
  if (line.up && !camera.setUp(*line.up)) return QStringLiteral("--up: that is the line of sight");
  camera.roll += line.roll.value_or(0);
  return QString();
}

QString cameraAt(const CommandLine& line, const math::Vector3& eye, const math::Vector3& target,
                 const scene::BoundingBox& box, gui::Camera& camera) {
  CommandLine there = line;
  there.eye = eye;
  there.target = target;
  const QString error = directCamera(there, box, camera);
  if (error.isEmpty()) placeCamera(there, box, camera);
  return error;
}

QString placeCamera(const CommandLine& line, const scene::BoundingBox& box, gui::Camera& camera) {
  if (line.target) camera.center = *line.target;
  if (line.eye) {
    camera.scale = scaleFor(*line.eye, box);
    static_cast<void>(camera.lookAt(*line.eye, line.target.value_or(middleOf(box))));
  }
  if (line.zoom) camera.zoom(*line.zoom);
  if (!line.eye || box.isEmpty() || !isInside(*line.eye, box)) return QString();
  return QStringLiteral("--camera: that is inside the model's box");
}

}  // namespace nubo::app
