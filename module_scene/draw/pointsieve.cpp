#include "module_scene/draw/pointsieve.h"

#include <algorithm>
#include <cmath>

namespace nubo::scene {

namespace {

/// By which nearer is nearer for OpenGL, too, which rounds in its own way.
constexpr float Nearer = 4e-7f;
/// Pixels around a pixel's middle in which OpenGL, which divides a pixel into 256 steps and computes in its own order,
/// may find it on the other side of a point's edge.
constexpr float Doubt = 0.006f;
/// A little more than the four by which the quarters of points fit together, for OpenGL rounds.
constexpr float CellsPerSize = 4.1f;
/// Pixels and depths in which a point that OpenGL may leave out hides nothing.
constexpr float Rim = 0.01f;

}  // namespace

void PointSieve::begin(const math::Matrix4& clip, int width, int height, int margin, double size, bool sampled) {
  m_Points.clear();
  m_Sampled = sampled;
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
  m_Pixels.assign(sampled ? 0 : std::size_t(m_PixelColumns) * pixelRows, Farthest);
  m_Cells.assign(std::size_t(m_CellColumns) * cellRows, Farthest);
}

/// Points of one size in whole pixels cover the same ones where they cover the same first one.
std::uint32_t PointSieve::pixelOf(float x, float y) const {
  const float left = x - m_Size / 2 + 0.5f, low = y - m_Size / 2 + 0.5f;
  if (std::abs(left - std::round(left)) < Doubt || std::abs(low - std::round(low)) < Doubt) return Unsure;
  return std::uint32_t(std::floor(low) + m_Reach) * std::uint32_t(m_PixelColumns) +
         std::uint32_t(std::floor(left) + m_Reach);
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
    const auto cell = (std::uint32_t(y * m_CellsPerPixel) + 1) * std::uint32_t(m_CellColumns) +
                      std::uint32_t(x * m_CellsPerPixel) + 1;
    const Point point{vertex, m_Sampled ? Unsure : pixelOf(x, y), cell, depth};
    m_Points.push_back(point);
    const bool isDrawn = x > Rim && y > Rim && x < m_Width - Rim && y < m_Height - Rim && std::abs(depth) < 1 - 1e-5f;
    if (!isDrawn) continue;
    if (point.pixel != Unsure) m_Pixels[point.pixel] = std::min(m_Pixels[point.pixel], depth);
    m_Cells[cell] = std::min(m_Cells[cell], depth);
  }
}

/// Of the point's size, one whose middle is in a cell that touches the point's own in a corner covers the quarter
/// there.
bool PointSieve::isHidden(const Point& point) const {
  const float nearer = point.depth - Nearer;
  if (point.pixel != Unsure && m_Pixels[point.pixel] < nearer) return true;
  const float *below = &m_Cells[point.cell - std::uint32_t(m_CellColumns)],
              *above = &m_Cells[point.cell + std::uint32_t(m_CellColumns)];
  return std::max(std::max(below[-1], below[1]), std::max(above[-1], above[1])) < nearer;
}

void PointSieve::sift(std::vector<std::uint32_t>& chosen) {
  for (const Point& point : m_Points)
    if (!isHidden(point)) chosen.push_back(point.vertex);
}

}  // namespace nubo::scene
