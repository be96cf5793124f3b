#include "module_scene/gui/camera.h"

#include <algorithm>
#include <cmath>

#include "module_scene/draw/scenedrawer.h"
#include "module_scene/draw/viewpoint.h"

namespace nubo::gui {

namespace {

constexpr double Degree = 3.14159265358979323846 / 180.0;
// Half of the smallest vertical opening angle under which a view is drawn.
constexpr double HalfOpening = 22.5 * Degree;

struct NamedView {
  const char* name;
  double azimuth, elevation;
};

constexpr NamedView Views[] = {{"front", 0, 0}, {"back", 180, 0},   {"left", 270, 0},   {"right", 90, 0},
                               {"top", 0, 90},  {"bottom", 0, -90}, {"oblique", 30, 25}};

/// Takes a frustum its perspective: what the frustum divides by, the depth, is the same everywhere, and the true depth
/// stands in w, falling from distance / ZNEAR to distance / ZFAR. Since it needs no eye, all lies in front of it that
/// is near enough, however close a view comes.
math::Matrix4 parallel(double distance) {
  constexpr double Reach = 2 * Camera::FarthestDistance;
  const double nearest = distance / scene::SceneDrawer::ZNEAR, farthest = distance / scene::SceneDrawer::ZFAR;
  const double slope = (farthest - nearest) / (2 * Reach);
  math::Matrix4 result;
  result(2, 2) = 0;
  result(2, 3) = -distance;
  result(3, 2) = -slope;
  result(3, 3) = nearest - slope * (distance - Reach);
  return result;
}

}  // namespace

double Camera::usableSlope(double margin) { return std::tan(HalfOpening) * (1 - 2 * margin); }

math::Matrix4 Camera::transform() const {
  return math::scaling(lens, lens, 1) * math::translation(0, 0, -distance) * math::rotation(-roll * Degree, {0, 0, 1}) *
         math::rotation((elevation - 90) * Degree, {1, 0, 0}) * math::rotation(-azimuth * Degree, {0, 0, 1}) *
         math::scaling(scale, scale, scale) * math::translation(-center[0], -center[1], -center[2]);
}

math::Matrix4 Camera::viewTransform() const { return orthographic ? parallel(distance) * transform() : transform(); }

void Camera::orbit(double azimuthDelta, double elevationDelta) {
  azimuth = std::fmod(azimuth + azimuthDelta, 360.0);
  if (azimuth < 0) azimuth += 360.0;
  elevation = std::clamp(elevation + elevationDelta, -90.0, 90.0);
}

double Camera::viewHeight() const { return 2 * distance * std::tan(scene::HalfOpening) / (scale * lens); }

void Camera::pan(double right, double up) {
  const double height = viewHeight();
  const math::Matrix4 view = transform();
  for (int i = 0; i < 3; ++i)  // the rows of the view's rotation are the directions of its axes
    center[i] += (right * view(0, i) + up * view(1, i)) / (scale * lens) * height;
}

void Camera::zoom(double factor) {
  if (factor > 0) distance = std::clamp(distance / factor, NearestDistance, FarthestDistance);
}

bool Camera::lookAt(const math::Vector3& eye, const math::Vector3& target) {
  const math::Vector3 back{eye[0] - target[0], eye[1] - target[1], eye[2] - target[2]};
  const double level = std::hypot(back[0], back[1]), length = std::hypot(level, back[2]);
  if (!(length > 0)) return false;
  if (level > 0) azimuth = std::atan2(back[0], -back[1]) / Degree;
  elevation = std::atan2(back[2], level) / Degree;
  distance = length * scale;
  center = target;
  return true;
}

bool Camera::setUp(const math::Vector3& up) {
  const math::Matrix4 view = transform();
  double seen[2] = {0, 0};  // to the right and up
  for (int row = 0; row < 2; ++row)
    for (int i = 0; i < 3; ++i) seen[row] += view(row, i) / scale * up[i];
  const double length = std::hypot(up[0], std::hypot(up[1], up[2]));
  constexpr double Least = 1e-6;
  if (!(std::hypot(seen[0], seen[1]) > Least * length)) return false;
  roll = std::fmod(roll - std::atan2(seen[0], seen[1]) / Degree, 360.0);
  return true;
}

bool Camera::setView(const QString& view) {
  for (const NamedView& named : Views) {
    if (view.compare(QLatin1String(named.name), Qt::CaseInsensitive) != 0) continue;
    azimuth = named.azimuth;
    elevation = named.elevation;
    roll = 0;
    lens = 1;
    return true;
  }
  const QStringList angles = view.split(QLatin1Char(','));
  if (angles.size() != 2) return false;
  bool isAzimuth = false, isElevation = false;
  const double newAzimuth = angles[0].toDouble(&isAzimuth), newElevation = angles[1].toDouble(&isElevation);
  if (!isAzimuth || !isElevation || !std::isfinite(newAzimuth) || !(std::abs(newElevation) <= 90.0)) return false;
  azimuth = newAzimuth;
  elevation = newElevation;
  roll = 0;
  lens = 1;
  return true;
}

QStringList Camera::viewNames() {
  QStringList names;
  for (const NamedView& view : Views) names << QString::fromLatin1(view.name);
  return names;
}

}  // namespace nubo::gui
