#include "module_scene/gui/cameraview.h"

#include <algorithm>
#include <cmath>

#include "module_scene/draw/scenedrawer.h"
#include "module_scene/mesh/surface.h"

namespace nubo::gui {

namespace {

using math::Vector3;

constexpr double Degree = 3.14159265358979323846 / 180.0;
const double HalfOpening = std::tan(22.5 * Degree);  // of a view's own lens

Vector3 columnOf(const math::Matrix4& m, int column) { return {m(0, column), m(1, column), m(2, column)}; }
double lengthOf(const Vector3& v) { return std::sqrt(scene::dot(v, v)); }

/// Turns the camera so that it looks against `back`, with `up` upwards.
void turn(Camera& camera, const Vector3& back, const Vector3& up) {
  constexpr double Steep = 1e-9;
  camera.elevation = std::asin(std::clamp(back[2], -1.0, 1.0)) / Degree;
  const bool isSteep = std::hypot(back[0], back[1]) < Steep;
  const double azimuth = isSteep ? 0 : std::atan2(back[0], -back[1]);
  camera.azimuth = azimuth / Degree;
  const Vector3 level{std::cos(azimuth), std::sin(azimuth), 0};
  const Vector3 right = scene::cross(up, back);
  camera.roll = std::atan2(scene::dot(right, scene::cross(back, level)), scene::dot(right, level)) / Degree;
}

}  // namespace

Camera cameraOf(const scene::FileCamera& source, const scene::BoundingBox& box) {
  const math::Matrix4 place = source.element->getGlobalTransform();
  const Vector3 eye = columnOf(place, 3), back = scene::normalized(columnOf(place, 2));
  Camera camera;
  turn(camera, back, scene::normalized(columnOf(place, 1)));

  Vector3 middle = eye;
  double radius = 1;
  if (!box.isEmpty()) {
    for (std::size_t i = 0; i < 3; ++i) middle[i] = (box.min[i] + box.max[i]) / 2;
    const double half = lengthOf(scene::difference(box.max, box.min)) / 2;
    if (half > 0) radius = half;
  }
  const double away = lengthOf(scene::difference(middle, eye));
  // All is seen that is not much nearer than a view can show beside what is farthest.
  constexpr double Room = 0.9;
  const double scaleToReach = Room * scene::SceneDrawer::ZFAR / (away + radius);
  const bool isClose = away < (1 + Camera::NearestDistance) * radius;
  camera.scale = isClose ? scaleToReach : std::min(1 / radius, scaleToReach);
  const double least = Camera::NearestDistance / camera.scale, most = Camera::FarthestDistance / camera.scale;
  const double along = -scene::dot(scene::difference(middle, eye), back);
  const double depth = std::clamp(along > least ? along : radius, least, most);
  for (std::size_t i = 0; i < 3; ++i) camera.center[i] = eye[i] - depth * back[i];
  camera.distance = depth * camera.scale;

  camera.orthographic = source.orthographic;
  if (source.orthographic) {
    const double height = source.height * lengthOf(columnOf(place, 1)) * camera.scale;
    camera.lens = height > 0 ? 2 * camera.distance * HalfOpening / height : 1;
  } else {
    constexpr double Narrowest = 0.1 * Degree, Widest = 175 * Degree;
    camera.lens = HalfOpening / std::tan(std::clamp(source.height, Narrowest, Widest) / 2);
  }
  return camera;
}

}  // namespace nubo::gui
