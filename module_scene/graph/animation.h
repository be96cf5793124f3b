// Movements of elements over time, as model files hold them.
#pragma once

#include <QQuaternion>
#include <QString>
#include <vector>

#include "module_scene/graph/sceneelement.h"

namespace nubo::scene {

/// A value at a time in seconds from the animation's begin.
template <class Value>
struct KeyFrame {
  double time;
  Value value;
  Value before{}, after{};  ///< Interpolation::Cubic only: how fast it changes there, per second
};

enum class Interpolation {
  Step,    ///< the value of the key before
  Linear,  ///< along a line; of rotations, along the shortest arc at the same speed
  Cubic    ///< a cubic Hermite spline through values and tangents
};

/// Keys, sorted by time and finite, and how to find what lies between them.
template <class Value>
struct Curve : std::vector<KeyFrame<Value>> {
  using std::vector<KeyFrame<Value>>::vector;
  Interpolation interpolation = Interpolation::Linear;
};

/// How one element moves: its transform is translation * rotation * scale; each of these curves holds at least one key.
struct AnimationTrack {
  util::YPointer<SceneElement> element;
  Curve<math::Vector3> translations;
  Curve<QQuaternion> rotations;
  Curve<math::Vector3> scales;
  Curve<std::vector<float>> shapeWeights = {};  ///< all of one size; empty: they stay as they are
};

/// Tracks that play together; no element has two. Of several animations of a file, some may move the same element.
struct Animation {
  QString name;
  double duration = 0;  ///< seconds, at least that of the last key
  std::vector<AnimationTrack> tracks;
};

}  // namespace nubo::scene
