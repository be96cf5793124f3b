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
};

/// How one element moves: its transform is translation * rotation * scale. Keys are sorted by time and
/// finite; each list holds at least one.
struct AnimationTrack {
  util::YPointer<SceneElement> element;
  std::vector<KeyFrame<math::Vector3>> translations;
  std::vector<KeyFrame<QQuaternion>> rotations;
  std::vector<KeyFrame<math::Vector3>> scales;
};

/// Tracks that play together; no element has two.
struct Animation {
  QString name;
  double duration = 0;  ///< seconds, at least that of the last key
  std::vector<AnimationTrack> tracks;
};

}  // namespace nubo::scene
