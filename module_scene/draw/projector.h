// Where vertices are in a view.
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>

#include "module_scene/math/matrix.h"

namespace nubo::scene {

/// Multiplies in single precision and in OpenGL's order of steps, so that what is rounded is rounded alike.
class Projector {
 public:
  /// Pixels from the lower left corner, and the depth from 0 to 1.
  using Place = std::array<float, 3>;
  struct Bounds {
    Place low, high;
  };

  /// For a view of that many pixels.
  Projector(const math::Matrix4& projection, const math::Matrix4& modelView, int width, int height)
      : m_Half{float(width) / 2, float(height) / 2, 0.5f} {
    for (int row = 0; row < 4; ++row)
      for (int column = 0; column < 4; ++column) {
        float sum = 0;
        for (int k = 0; k < 4; ++k) sum += float(projection(row, k)) * float(modelView(k, column));
        m_Rows[row][column] = sum;
      }
  }

  /// In clip coordinates: what is seen lies between -w and w.
  std::array<float, 4> clip(float x, float y, float z) const {
    // Written out, or compilers would compute the four at once and not those of several vertices.
    const auto sum = [&](const float* row) { return row[0] * x + row[1] * y + row[2] * z + row[3]; };
    return {sum(m_Rows[0]), sum(m_Rows[1]), sum(m_Rows[2]), sum(m_Rows[3])};
  }
  std::array<float, 4> clip(const float* position) const { return clip(position[0], position[1], position[2]); }

  /// Of what has w > 0.
  Place place(const std::array<float, 4>& clip) const {
    const float inverse = 1 / clip[3];
    return {clip[0] * inverse * m_Half[0] + m_Half[0], clip[1] * inverse * m_Half[1] + m_Half[1],
            clip[2] * inverse * m_Half[2] + m_Half[2]};
  }

  /// Between which places all lies that is seen of a box, however it is rounded; none if a corner has no place.
  std::optional<Bounds> bounds(const std::array<float, 3>& min, const std::array<float, 3>& max) const {
    std::array<std::array<float, 4>, 8> corners;
    for (std::size_t i = 0; i < corners.size(); ++i)
      corners[i] = clip((i & 1 ? max : min)[0], (i & 2 ? max : min)[1], (i & 4 ? max : min)[2]);
    const float nearest = (*std::min_element(corners.begin(), corners.end(),
                                             [](const auto& a, const auto& b) { return a[3] < b[3]; }))[3];
    if (!(nearest > 0)) return {};
    // What is rounded off of a sum is a share of its terms, and weighs the more the less it is divided by. The sums and
    // the quotients of a corner and of a vertex take some 25 of the 32 halves of a last place that this is.
    const float doubt = largestTerms(min, max) / nearest / (1 << 19);
    Bounds result{place(corners[0]), place(corners[0])};
    for (const auto& corner : corners) {
      const Place middle = place(corner);
      for (std::size_t axis = 0; axis < middle.size(); ++axis) {
        const float reach = doubt * (m_Half[axis] + std::abs(middle[axis] - m_Half[axis]));
        result.low[axis] = std::min(result.low[axis], middle[axis] - reach);
        result.high[axis] = std::max(result.high[axis], middle[axis] + reach);
      }
    }
    return result;
  }

 private:
  /// Of the sums that make clip coordinates, anywhere in a box.
  float largestTerms(const std::array<float, 3>& min, const std::array<float, 3>& max) const {
    float largest = 0;
    for (const auto& row : m_Rows) {
      float sum = std::abs(row[3]);
      for (std::size_t i = 0; i < min.size(); ++i)
        sum += std::abs(row[i]) * std::max(std::abs(min[i]), std::abs(max[i]));
      largest = std::max(largest, sum);
    }
    return largest;
  }

  float m_Rows[4][4];
  Place m_Half;  ///< of a view's width, height and depth
};

}  // namespace nubo::scene
