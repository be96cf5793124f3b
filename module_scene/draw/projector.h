// Where vertices are in a view.
#pragma once

#include <array>

#include "module_scene/math/matrix.h"

namespace nubo::scene {

/// Multiplies in single precision and in OpenGL's order of steps, so that what is rounded is rounded alike.
class Projector {
 public:
  /// For a view of that many pixels.
  Projector(const math::Matrix4& projection, const math::Matrix4& modelView, int width, int height)
      : m_HalfWidth(float(width) / 2), m_HalfHeight(float(height) / 2) {
    for (int row = 0; row < 4; ++row)
      for (int column = 0; column < 4; ++column) {
        float sum = 0;
        for (int k = 0; k < 4; ++k) sum += float(projection(row, k)) * float(modelView(k, column));
        m_Rows[row][column] = sum;
      }
  }

  /// In clip coordinates: what is seen lies between -w and w.
  std::array<float, 4> clip(const float* position) const {
    std::array<float, 4> result;
    for (std::size_t row = 0; row < 4; ++row)
      result[row] =
          m_Rows[row][0] * position[0] + m_Rows[row][1] * position[1] + m_Rows[row][2] * position[2] + m_Rows[row][3];
    return result;
  }

  /// Pixels from the lower left corner, and the depth from 0 to 1, of what has w > 0.
  std::array<float, 3> place(const std::array<float, 4>& clip) const {
    const float inverse = 1 / clip[3];
    return {clip[0] * inverse * m_HalfWidth + m_HalfWidth, clip[1] * inverse * m_HalfHeight + m_HalfHeight,
            clip[2] * inverse * 0.5f + 0.5f};
  }

 private:
  float m_Rows[4][4];
  float m_HalfWidth, m_HalfHeight;
};

}  // namespace nubo::scene
