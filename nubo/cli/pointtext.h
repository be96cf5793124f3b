// Points as options tell them.
#pragma once

#include <QStringList>
#include <cmath>
#include <optional>

#include "module_scene/math/matrix.h"

namespace nubo::app {

/// Of three numbers, X,Y,Z; nothing of anything else.
inline std::optional<math::Vector3> pointOf(const QString& text) {
  const QStringList parts = text.split(',');
  if (parts.size() != 3) return std::nullopt;
  math::Vector3 point{};
  for (int i = 0; i < 3; ++i) {
    bool isNumber = false;
    point[std::size_t(i)] = parts[i].toDouble(&isNumber);
    if (!isNumber || !std::isfinite(point[std::size_t(i)])) return std::nullopt;
  }
  return point;
}

}  // namespace nubo::app
