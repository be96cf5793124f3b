// How fast drawing is.
#pragma once

#include <QtGlobal>
#include <algorithm>
#include <cstddef>

namespace nubo::scene {

/// How much can be drawn in some time, as it has shown.
class Pace {
 public:
  std::size_t indicesFor(double milliseconds) const {
    return std::size_t(std::max(1000.0, m_IndicesPerMs * milliseconds));
  }
  /// So many were drawn in that time. What is hidden or small takes little; what comes next may not.
  void learn(std::size_t indices, qint64 nanoseconds) {
    const double rate = double(indices) / std::max(0.01, double(nanoseconds) * 1e-6);
    m_IndicesPerMs = std::clamp(rate, m_IndicesPerMs / 8, m_IndicesPerMs * 1.1);
  }

 private:
  double m_IndicesPerMs = 1000;
};

}  // namespace nubo::scene
