#include "module_trajectory/animationtrajectory.h"

#include <QCoreApplication>
#include <algorithm>
#include <cmath>

namespace nubo::trajectory {
namespace {

constexpr double MaxMatrices = 1e7;

math::Vector3 mix(const math::Vector3& a, const math::Vector3& b, double t) {
  return {a[0] + (b[0] - a[0]) * t, a[1] + (b[1] - a[1]) * t, a[2] + (b[2] - a[2]) * t};
}

QQuaternion mix(const QQuaternion& a, const QQuaternion& b, double t) { return QQuaternion::slerp(a, b, float(t)); }

/// The value at a time; before the first key and after the last, theirs.
template <class Value>
Value sample(const std::vector<scene::KeyFrame<Value>>& keys, double time) {
  const auto next = std::upper_bound(keys.begin(), keys.end(), time,
                                     [](double t, const scene::KeyFrame<Value>& key) { return t < key.time; });
  if (next == keys.begin()) return next->value;
  const auto& previous = *(next - 1);
  if (next == keys.end()) return previous.value;
  return mix(previous.value, next->value, (time - previous.time) / (next->time - previous.time));
}

math::Matrix4 toMatrix(const QQuaternion& rotation) {
  const QMatrix3x3 r = rotation.toRotationMatrix();
  math::Matrix4 m;
  for (int row = 0; row < 3; ++row)
    for (int column = 0; column < 3; ++column) m(row, column) = double(r(row, column));
  return m;
}

math::Matrix4 sample(const scene::AnimationTrack& track, double time) {
  const math::Vector3 t = sample(track.translations, time), s = sample(track.scales, time);
  return math::translation(t[0], t[1], t[2]) * toMatrix(sample(track.rotations, time)) *
         math::scaling(s[0], s[1], s[2]);
}

}  // namespace

std::unique_ptr<AdvancedTrajectoryInfo> createAnimationTrajectory(const std::vector<scene::Animation>& animations,
                                                                  double framesPerSecond, QString& error) {
  double duration = 0, tracks = 0;
  for (const scene::Animation& animation : animations) {
    duration = std::max(duration, animation.duration);
    tracks += double(animation.tracks.size());
  }
  if (tracks == 0) error = QCoreApplication::translate("Trajectory", "nothing in the scene is animated");
  if (!(framesPerSecond > 0)) error = QCoreApplication::translate("Trajectory", "the frame rate must be above 0");
  constexpr double Rounding = 1e-6;  // an end that falls on a frame needs no other frame after it
  const double steps = std::ceil(duration * framesPerSecond - Rounding) + 1;
  if (!(steps * tracks <= MaxMatrices)) error = QCoreApplication::translate("Trajectory", "the animation is too long");
  if (!error.isEmpty()) return nullptr;

  auto list = std::make_unique<std::deque<MatrixMap>>();
  for (int step = 0; step < int(steps); ++step) {
    MatrixMap& map = list->emplace_back();
    const double time = std::min(step / framesPerSecond, duration);
    for (const scene::Animation& animation : animations)
      for (const scene::AnimationTrack& track : animation.tracks) map[track.element] = sample(track, time);
  }
  return std::make_unique<AdvancedTrajectoryInfo>(std::move(list));
}

}  // namespace nubo::trajectory
