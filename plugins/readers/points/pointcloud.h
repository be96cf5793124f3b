// The points that are read of a file, and the mesh that they become.
#pragma once

#include "module_scene/io/reader/reader.h"
#include "plugins/readers/points/layout.h"

namespace nubo::reader {

/// The points of a stretch of a file. Stretches may be read side by side, each on one thread.
class Stretch {
 public:
  explicit Stretch(const Layout& layout)
      : m_Layout(layout),
        m_HasColors(layout.hasColors()),
        m_HasNormals(layout.hasNormals()),
        m_HasIntensities(!m_HasColors && layout.has(Meaning::Intensity)) {}

  /// One value per column. What has no place is counted, and left out.
  void add(const double* values);

  std::vector<float> positions, normals, intensities;
  std::vector<std::uint8_t> colors;
  std::size_t nowhere = 0;      ///< points that were left out
  std::size_t strange = 0;      ///< lines that hold no point
  std::uint64_t announced = 0;  ///< points, by lines that tell how many follow

 private:
  const Layout& m_Layout;
  const bool m_HasColors, m_HasNormals, m_HasIntensities;
};

/// All points of a file. On the reader's thread only.
class PointCloud {
 public:
  /// `most`: there cannot be more points. Layout and output must outlive the cloud.
  PointCloud(const Layout& layout, std::size_t most, Output& output);

  void append(const Stretch& stretch);
  /// Makes a mesh and a node of all; tells what was left out. Throws Refusal where fewer points came than the file
  /// announced (0: it did not), or none.
  void finish(std::uint64_t announced);
  std::uint64_t announced() const { return m_Announced; }

 private:
  void makeGrey();

  const Layout& m_Layout;
  Output& m_Output;
  Mesh m_Mesh;
  std::size_t m_Count = 0, m_Nowhere = 0, m_Strange = 0;
  std::uint64_t m_Announced = 0;
  std::vector<float> m_Intensities;
};

}  // namespace nubo::reader
