#include "module_scene/draw/pointsieve.h"

#include <algorithm>
#include <cmath>

namespace nubo::scene {

namespace {

/// Points of one size cover so many pixels or one more, across and up.
constexpr std::uint32_t Footprints = 4;
/// By which nearer is nearer for OpenGL, too, which rounds in its own way.
constexpr float Nearer = 4e-7f;
/// In which OpenGL divides a pixel.
constexpr float Steps = 256;
/// A little more than the four by which the quarters of points fit together, for OpenGL rounds.
constexpr float CellsPerSize = 4.1f;
/// Pixels and depths in which a point that OpenGL may leave out hides nothing.
constexpr float Rim = 0.01f;

}  // namespace

void PointSieve::begin(const math::Matrix4& clip, int width, int height, int margin, double size) {
  m_Points.clear();
  m_Size = float(size);
  m_Margin = float(margin);
  m_Width = float(width) + 2 * m_Margin;
  m_Height = float(height) + 2 * m_Margin;
  m_CellsPerPixel = CellsPerSize / m_Size;
  m_Reach = std::ceil(m_Size / 2);
  for (int column = 0; column < 4; ++column) {
    m_Rows[0][column] = float(0.5 * width * clip(0, column) + (0.5 * width + double(m_Margin)) * clip(3, column));
    m_Rows[1][column] = float(0.5 * height * clip(1, column) + (0.5 * height + double(m_Margin)) * clip(3, column));
    m_Rows[2][column] = float(clip(2, column));
    m_Rows[3][column] = float(clip(3, column));
  }
  constexpr int Around = 3;  // places that rounding and the neighbours of cells need
  m_PixelColumns = int(m_Width + m_Reach) + Around;
  m_CellColumns = int(m_Width * m_CellsPerPixel) + Around;
  const std::size_t pixelRows = std::size_t(m_Height + m_Reach) + Around;
  const std::size_t cellRows = std::size_t(m_Height * m_CellsPerPixel) + Around;
  constexpr float Farthest = 2;
  m_Pixels.assign(std::size_t(m_PixelColumns) * pixelRows * Footprints, Farthest);
  m_Cells.assign(std::size_t(m_CellColumns) * cellRows, Farthest);
}

void PointSieve::add(const std::vector<float>& positions, std::uint32_t first, std::uint32_t count) {
  const auto row = [this](int i, const float* p) {
    return m_Rows[i][0] * p[0] + m_Rows[i][1] * p[1] + m_Rows[i][2] * p[2] + m_Rows[i][3];
  };
  for (std::uint32_t vertex = first; vertex < first + count; ++vertex) {
    const float* p = &positions[std::size_t(vertex) * 3];
    const float w = row(3, p);
    if (!(w > 0)) continue;
    const float x = row(0, p) / w, y = row(1, p) / w, depth = row(2, p) / w;
    if (!(x > 0 && y > 0 && x < m_Width && y < m_Height && depth >= -1 - Rim && depth <= 1 + Rim)) continue;
    // The pixels whose middles the point covers, where it is once OpenGL has moved it to the nearest of its steps.
    const float middle[]{std::round(x * Steps) / Steps, std::round(y * Steps) / Steps};
    const float left = std::floor(middle[0] - m_Size / 2 + 0.5f), right = std::floor(middle[0] + m_Size / 2 + 0.5f);
    const float low = std::floor(middle[1] - m_Size / 2 + 0.5f), high = std::floor(middle[1] + m_Size / 2 + 0.5f);
    const float most = std::floor(m_Size) + 0.5f;
    const std::uint32_t footprint = std::uint32_t(right - left > most) + 2 * std::uint32_t(high - low > most);
    const auto pixel = std::uint32_t(low + m_Reach) * std::uint32_t(m_PixelColumns) + std::uint32_t(left + m_Reach);
    const auto cell = (std::uint32_t(y * m_CellsPerPixel) + 1) * std::uint32_t(m_CellColumns) +
                      std::uint32_t(x * m_CellsPerPixel) + 1;
    const Point point{vertex, pixel * Footprints + footprint, cell, depth};
    m_Points.push_back(point);
    const bool isDrawn = x > Rim && y > Rim && x < m_Width - Rim && y < m_Height - Rim && std::abs(depth) < 1 - 1e-5f;
    if (!isDrawn) continue;
    m_Pixels[point.pixel] = std::min(m_Pixels[point.pixel], depth);
    m_Cells[cell] = std::min(m_Cells[cell], depth);
  }
}

/// Of the point's size, one whose middle is in a cell that touches the point's own in a corner covers the quarter
/// there.
bool PointSieve::isHidden(const Point& point) const {
  const float nearer = point.depth - Nearer;
  const std::uint32_t own = point.pixel % Footprints;
  for (std::uint32_t other = own; other < Footprints; ++other)
    if ((other & own) == own && m_Pixels[point.pixel - own + other] < nearer) return true;
  const float *below = &m_Cells[point.cell - std::uint32_t(m_CellColumns)],
              *above = &m_Cells[point.cell + std::uint32_t(m_CellColumns)];
  return std::max(std::max(below[-1], below[1]), std::max(above[-1], above[1])) < nearer;
}

void PointSieve::sift(std::vector<std::uint32_t>& chosen) {
  for (const Point& point : m_Points)
    if (!isHidden(point)) chosen.push_back(point.vertex);
}

}  // namespace nubo::scene
