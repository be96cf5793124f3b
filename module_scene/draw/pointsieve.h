// Which of very many points a view can show.
#pragma once

#include <cstdint>
#include <vector>

#include "module_scene/math/matrix.h"
#include "module_scene/visibility.h"

namespace nubo::scene {

/// Leaves out points that cover the same pixels as a nearer one, and points wholly behind nearer ones. All points have
/// one size and are opaque. Finding that out takes some nanoseconds for each, drawing it many times that where OpenGL
/// is software. Keeps its memory from one view to the next; for one thread at a time.
class NUBO_MODULE_SCENE_EXPORT PointSieve {
 public:
  /// Begins a view of that many pixels, with `margin` more on each side at which OpenGL does draw points. `clip` leads
  /// from the points' space to clip space; a point is `size` pixels wide and high, at least 1, and whole ones unless
  /// pixels are `sampled`. Where pixels are `sampled` at several places each, points that cover the same pixels may
  /// differ in what they cover of them.
  void begin(const math::Matrix4& clip, int width, int height, int margin, double size, bool sampled);
  /// Vertices `first` and following of x y z.
  void add(const std::vector<float>& positions, std::uint32_t first, std::uint32_t count);
  /// Appends the numbers of those vertices that may show, in the order in which they were added.
  void sift(std::vector<std::uint32_t>& chosen);

 private:
  struct Point {
    std::uint32_t vertex;
    std::uint32_t pixel;  ///< into m_Pixels, or Unsure
    std::uint32_t cell;   ///< into m_Cells
    float depth;
  };

  /// Of a point of which it is not sure which pixels OpenGL has it cover.
  static constexpr std::uint32_t Unsure = 0xFFFFFFFFu;

  std::uint32_t pixelOf(float x, float y) const;
  bool isHidden(const Point& point) const;

  float m_Rows[4][4]{};  ///< to pixels from the lower left corner, with what lies around the view; depth; and w
  bool m_Sampled = false;
  float m_Size = 1, m_Margin = 0, m_CellsPerPixel = 1;
  float m_Reach = 1;  ///< pixels that a point covers beside its middle
  float m_Width = 0, m_Height = 0;
  int m_PixelColumns = 0, m_CellColumns = 0;
  std::vector<Point> m_Points;
  std::vector<float>
      m_Pixels;  ///< the nearest depth, by the first pixel that a point covers; none where pixels are sampled
  std::vector<float> m_Cells;  ///< the nearest depth, by where a point's middle is; a cell is a quarter of its size
};

}  // namespace nubo::scene
