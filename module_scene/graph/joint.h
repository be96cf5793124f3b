// How a part of a machine moves.
#pragma once

#include <QString>

#include "module_scene/math/matrix.h"

namespace nubo::scene {

/// Moves the element that has it, by a value: radians around an axis, or metres along it.
struct Joint {
  QString name;
  math::Matrix4 origin;         ///< the element's transform where the value is 0
  bool turns = true;            ///< false: slides
  math::Vector3 axis{1, 0, 0};  ///< of length 1, in the element's own space
  double lower = 0, upper = 0;  ///< limits of the value, where they differ
  QString follows;              ///< the joint whose value * multiplier + offset is this one's; or empty
  double multiplier = 1, offset = 0;

  math::Matrix4 transformAt(double value) const {
    return origin *
           (turns ? math::rotation(value, axis) : math::translation(axis[0] * value, axis[1] * value, axis[2] * value));
  }
};

}  // namespace nubo::scene
