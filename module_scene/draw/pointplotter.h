// Draws points without OpenGL.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <vector>

#include "module_scene/draw/drawlist.h"
#include "module_scene/draw/squareplane.h"

namespace nubo::scene {

/// Draws opaque points of one colour each as squares, as OpenGL does, on all cores. OpenGL in software sets up each
/// point as if it were a face, which takes many times as long as to fill its few pixels. Keeps its memory from one view
/// to the next; for one thread at a time.
class PointPlotter {
 public:
  /// Steps into which a pixel is divided, as most OpenGLs do it, by which points are placed and samples are counted.
  static constexpr int Steps = 256;
  /// Where colours are taken in a pixel, in steps from its lower left corner.
  using Sample = std::array<int, 2>;
  /// The one that there is in each pixel if there are no more: what begins in the middle of a pixel leaves it out.
  static constexpr Sample Middle{Steps / 2 - 1, Steps / 2 - 1};

  PointPlotter();
  ~PointPlotter();
  PointPlotter(const PointPlotter&) = delete;
  PointPlotter& operator=(const PointPlotter&) = delete;

  /// Draws all opaque batches of a list, which are points without light and textures, into a view of that many pixels,
  /// up to 2^14 on an axis.
  /// Asks the current context where so many samples of a pixel are.
  void plot(const DrawList& list, const math::Matrix4& projection, int width, int height, int samples);
  /// Of all pixels, from the lower left one: R G B A of one byte each in memory, premultiplied; 0 where there is no
  /// point.
  const std::vector<std::uint32_t>& pixels() const { return m_Pixels; }

 private:
  struct Brush;
  struct Stroke;

  void collect(const DrawList& list, const math::Matrix4& projection);
  void arrange();
  void cutInto(int size);
  void draw(std::size_t first, std::size_t end);
  void draw(std::uint32_t stroke);
  bool isHidden(const Stroke& stroke) const;
  void write(int row);
  std::uint32_t colorOf(SquarePlane::Key key) const;
  const std::vector<Sample>& placesOf(int samples);

  std::map<int, std::vector<Sample>> m_Places;  ///< by how many were asked for
  int m_Width = 0, m_Height = 0;
  std::vector<Sample> m_Samples;
  std::vector<Brush> m_Brushes;
  std::vector<Stroke> m_Strokes;       ///< in the order of the list
  std::vector<std::uint32_t> m_Order;  ///< in which these are drawn: the largest first, and of them the nearest
  std::vector<SquarePlane> m_Planes;   ///< one for each sample
  std::vector<std::uint32_t> m_Pixels;
};

}  // namespace nubo::scene
