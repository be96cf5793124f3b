#include "module_scene/builtin/builtinanimation.h"

#include <cmath>
#include <functional>

namespace nubo::scene {

namespace {

constexpr double Period = 12;  // seconds
constexpr double Duration = Period - 1.0 / 25;
constexpr double KeyStep = 0.25;
constexpr double Degrees = 360;

/// Degrees at a phase of the period, from 0 to 1.
using Angle = std::function<double(double phase)>;

double wave(double phase) { return std::sin(2 * std::acos(-1.0) * phase); }
/// From 0 to 1 and back.
double swing(double phase) { return (1 - std::cos(2 * std::acos(-1.0) * phase)) / 2; }

QQuaternion rotationOf(const math::Matrix4& m) {
  QMatrix3x3 rotation;
  for (int row = 0; row < 3; ++row)
    for (int column = 0; column < 3; ++column) rotation(row, column) = float(m(row, column));
  return QQuaternion::fromRotationMatrix(rotation);
}

/// Turns an element about an axis of its own, from where it stands.
AnimationTrack turn(SceneElement& root, const char* name, const QVector3D& axis, const Angle& angle) {
  AnimationTrack track;
  track.element = root.find(QString::fromLatin1(name));
  const math::Matrix4& m = track.element->getTransform();
  const QQuaternion rest = rotationOf(m);
  track.translations = {{0, {m(0, 3), m(1, 3), m(2, 3)}}};
  track.scales = {{0, {1, 1, 1}}};
  for (double time = 0; time <= Period; time += KeyStep)
    track.rotations.push_back({time, rest * QQuaternion::fromAxisAndAngle(axis, float(angle(time / Period)))});
  return track;
}

}  // namespace

Animation createBuiltinAnimation(SceneElement& root) {
  const QVector3D x(1, 0, 0), z(0, 0, 1);
  Animation animation;
  animation.name = QStringLiteral("built-in");
  animation.duration = Duration;
  animation.tracks = {
      turn(root, "gear.large", z, [](double phase) { return Degrees * phase; }),
      turn(root, "gear.small", z, [](double phase) { return -2 * Degrees * phase; }),
      turn(root, "wheel", z, [](double phase) { return 2 * Degrees * phase; }),
      turn(root, "arm.base", z, [](double phase) { return 70 * wave(phase); }),
      turn(root, "arm.shoulder", x, [](double phase) { return -25 * swing(2 * phase); }),
      turn(root, "arm.elbow", x, [](double phase) { return 30 * swing(2 * phase); }),
      turn(root, "arm.wrist", x, [](double phase) { return 35 * wave(2 * phase); }),
      turn(root, "arm.gripper", z, [](double phase) { return Degrees * phase; }),
  };
  return animation;
}

}  // namespace nubo::scene
