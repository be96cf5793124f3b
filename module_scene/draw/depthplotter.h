// Draws how far away faces are without OpenGL.
#pragma once

#include <QRect>
#include <array>
#include <cstdint>
#include <vector>

#include "module_scene/draw/drawlist.h"

namespace nubo::scene {

class Projector;

/// Draws the depths of many small faces, on all cores. OpenGL in software sets up one face after the other, which takes
/// most of the time where each has a pixel or less. Keeps its memory from one view to the next; for one thread at a
/// time.
class DepthPlotter {
 public:
  /// Whether the list's faces are worth it, in a view of so many pixels, and drawn as OpenGL does it: nothing of them
  /// is cut away, or left out by a texture, or a coarse version.
  static bool canPlot(const DrawList& list, int width, int height);
  /// Draws all that canPlot() allowed. False: it could not, since some of it reaches before the view or far out of it.
  [[nodiscard]] bool plot(const DrawList& list, const math::Matrix4& projection, int width, int height);
  /// Of all pixels, from the lower left one: shares of the greatest number, which is where there is nothing.
  const std::vector<std::uint32_t>& depths() const { return m_Layers.front().depths; }
  /// The pixels that faces reach into, rows counted from the lowest one.
  QRect covered() const;

 private:
  /// Where a vertex is, in steps of a pixel, and on which sides of the view it lies out of it.
  struct Corner {
    std::int32_t x, y;
    float depth;
    std::uint32_t out;
  };
  /// What one core draws.
  struct Layer {
    std::vector<std::uint32_t> depths;
    std::vector<Corner> corners;  ///< of one cluster
  };
  struct Job {
    const Batch* batch;
    const Cluster* cluster;
  };

  bool draw(Layer& layer, const Job& job, const math::Matrix4& projection) const;
  void draw(Layer& layer, std::array<const Corner*, 3> corners, bool seenFromBehind) const;
  void merge();

  int m_Width = 0, m_Height = 0;
  std::vector<Job> m_Jobs;
  std::vector<Layer> m_Layers;
};

}  // namespace nubo::scene
