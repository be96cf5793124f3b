// Draws points without OpenGL.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <vector>

#include "module_scene/draw/drawlist.h"

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

  /// Draws all opaque batches of a list, which are points without light and textures, into a view of that many pixels.
  /// Asks the current context where so many samples of a pixel are.
  void plot(const DrawList& list, const math::Matrix4& projection, int width, int height, int samples);
  /// Of all pixels, from the lower left one: R G B A of one byte each in memory, premultiplied; 0 where there is no
  /// point.
  const std::vector<std::uint32_t>& pixels() const { return m_Pixels; }

 private:
  struct Square {
    std::int32_t left, low, size;  ///< steps
    std::int32_t depth;
    const std::uint8_t* color;  ///< r g b a; looked at only where the square is seen
  };
  struct Stroke;
  class Sheet;

  void draw(const Stroke* strokes, std::size_t count, const math::Matrix4& projection, bool sampled,
            Sheet& sheet) const;
  static std::size_t sheetsFor(const std::vector<Stroke>& strokes, std::size_t values);
  const std::vector<Sample>& placesOf(int samples);

  std::map<int, std::vector<Sample>> m_Samples;  ///< by how many were asked for
  int m_Width = 0, m_Height = 0;
  std::vector<Sheet> m_Sheets;  ///< with later points on later ones
  std::vector<std::uint32_t> m_Pixels;
};

}  // namespace nubo::scene
