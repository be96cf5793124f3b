#include "module_trajectory/animationtrajectory.h"

#include <QCoreApplication>
#include <algorithm>
#include <cmath>

namespace nubo::trajectory {
namespace {

constexpr double MaxMatrices = 1e7;

using Rotation = std::array<double, 4>;  // a quaternion: x y z w

const math::Vector3& toNumbers(const math::Vector3& v) { return v; }
const std::vector<float>& toNumbers(const std::vector<float>& v) { return v; }
Rotation toNumbers(const QQuaternion& q) { return {double(q.x()), double(q.y()), double(q.z()), double(q.scalar())}; }

/// `a` times `fa`, plus the same for others; all of one size.
template <class Numbers>
Numbers sum(Numbers a, double fa, const Numbers& b, double fb) {
  using Number = typename Numbers::value_type;
  for (std::size_t i = 0; i < a.size() && i < b.size(); ++i) a[i] = Number(fa * double(a[i]) + fb * double(b[i]));
  return a;
}

template <class Numbers>
Numbers mix(const Numbers& a, const Numbers& b, double t) {
  return sum(a, 1 - t, b, t);
}

/// At the same speed along the shortest arc (K. Shoemake, Animating Rotation with Quaternion Curves, 1985).
Rotation mix(const Rotation& a, const Rotation& b, double t) {
  double cosine = 0;
  for (std::size_t i = 0; i < 4; ++i) cosine += a[i] * b[i];
  const double sign = cosine < 0 ? -1 : 1;
  const double angle = std::acos(std::min(1.0, sign * cosine));
  constexpr double Tiny = 1e-6;  // radians; the arc is a line
  if (angle < Tiny) return sum(a, 1 - t, b, sign * t);
  return sum(a, std::sin((1 - t) * angle) / std::sin(angle), b, sign * std::sin(t * angle) / std::sin(angle));
}

/// A cubic Hermite spline between two keys that lie `span` seconds apart.
template <class Key>
auto spline(const Key& from, const Key& to, double t, double span) {
  const double t2 = t * t, t3 = t2 * t;
  const auto values = sum(toNumbers(from.value), 2 * t3 - 3 * t2 + 1, toNumbers(to.value), 3 * t2 - 2 * t3);
  const auto tangents = sum(toNumbers(from.after), span * (t3 - 2 * t2 + t), toNumbers(to.before), span * (t3 - t2));
  return sum(values, 1, tangents, 1);
}

/// The value at a time; before the first key and after the last, theirs.
template <class Value>
auto sample(const scene::Curve<Value>& keys, double time) -> std::decay_t<decltype(toNumbers(keys.front().value))> {
  const auto next = std::upper_bound(keys.begin(), keys.end(), time,
                                     [](double t, const scene::KeyFrame<Value>& key) { return t < key.time; });
  if (next == keys.begin()) return toNumbers(next->value);
  const auto& previous = *(next - 1);
  if (next == keys.end() || keys.interpolation == scene::Interpolation::Step) return toNumbers(previous.value);
  const double span = next->time - previous.time, t = (time - previous.time) / span;
  if (keys.interpolation == scene::Interpolation::Cubic) return spline(previous, *next, t, span);
  return mix(toNumbers(previous.value), toNumbers(next->value), t);
}

/// Of a quaternion of any length but 0.
math::Matrix4 toMatrix(const Rotation& rotation) {
  double square = 0;
  for (const double part : rotation) square += part * part;
  math::Matrix4 m;
  if (!(square > 0)) return m;
  const auto [x, y, z, w] = rotation;
  const double f = 2 / square;
  m(0, 0) = 1 - f * (y * y + z * z), m(0, 1) = f * (x * y - z * w), m(0, 2) = f * (x * z + y * w);
  m(1, 0) = f * (x * y + z * w), m(1, 1) = 1 - f * (x * x + z * z), m(1, 2) = f * (y * z - x * w);
  m(2, 0) = f * (x * z - y * w), m(2, 1) = f * (y * z + x * w), m(2, 2) = 1 - f * (x * x + y * y);
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
  std::deque<WeightMap> weights;
  for (int step = 0; step < int(steps); ++step) {
    MatrixMap& map = list->emplace_back();
    WeightMap& ownWeights = weights.emplace_back();
    const double time = std::min(step / framesPerSecond, duration);
    for (const scene::Animation& animation : animations)
      for (const scene::AnimationTrack& track : animation.tracks) {
        map[track.element] = sample(track, time);
        if (!track.shapeWeights.empty()) ownWeights[track.element] = sample(track.shapeWeights, time);
      }
  }
  return std::make_unique<AdvancedTrajectoryInfo>(std::move(list), std::move(weights));
}

}  // namespace nubo::trajectory
