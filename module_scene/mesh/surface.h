// What the faces of a mesh have to do with each other, by where their corners lie.
#pragma once

#include <cstdint>
#include <vector>

#include "module_scene/graph/geometry.h"
#include "module_scene/math/matrix.h"
#include "module_scene/mesh/radixsort.h"

namespace nubo::scene {

/// A vertex that is there once more, with another normal.
struct SmoothVertex {
  std::uint32_t source;  ///< the vertex that it is a copy of
  std::array<float, 3> normal;
};

/// Computed normals.
struct SmoothNormals {
  std::vector<float> first;                                         ///< x y z of each vertex as it was
  std::vector<SmoothVertex> more;                                   ///< to be numbered behind those
  std::vector<std::pair<std::uint32_t, std::uint32_t>> usesOfMore;  ///< corners with the numbers of their vertices
};

/// What is told by the corners (places in the index list) at each point of a triangle mesh. Vertices of equal position
/// are one point, whatever their colours or texture coordinates. Keeps references to what it was made of. Clusters make
/// this quick and small: nearly all corners at a point are in the first cluster that has it, whose points are numbered
/// one after the other, so that the corners are listed for one cluster after the other.
class Surface {
 public:
  /// The clusters' vertices are numbered in the order in which the indices first name them; so are the points of
  /// vertices. `pointOfVertex` is empty where each vertex is a point of its own.
  Surface(const std::vector<float>& positions, const std::vector<std::uint32_t>& indices,
          const std::vector<Cluster>& clusters, util::Scratch<std::uint32_t> pointOfVertex);

  /// Whether each edge belongs to exactly two faces that pass it in opposite directions, and each connected
  /// part of the mesh encloses a positive volume, so that its faces look outwards.
  bool isClosed() const;

  /// Normals that are smooth but for edges at which faces meet at more than 40 degrees. Vertices with
  /// more than one normal are repeated.
  SmoothNormals smooth() const;

 private:
  /// The corners at points that follow each other.
  struct CornerLists {
    std::uint32_t firstPoint = 0;
    std::vector<std::uint32_t> begins;  ///< per point, and one more: into corners
    std::vector<std::uint32_t> corners;
  };
  /// Of some faces of a connected part.
  struct PartVolume {
    static constexpr std::uint32_t None = 0xFFFFFFFFu;
    std::uint32_t corner = None;  ///< one of theirs
    double volume = 0;            ///< six times what they enclose with it, where they look away from it
    math::Vector3 area{0, 0, 0};  ///< twice theirs, as a vector
  };
  class Smoother;
  class EdgePairs;

  /// Corners in later clusters than the first that has their point.
  std::size_t strayCount() const;
  /// Those that lie in later clusters than the first that has their point: by points, one of these from `begin` to
  /// before `end`.
  util::Scratch<Keyed> strayCorners(std::uint32_t begin, std::uint32_t end) const;
  /// Those at the points that a cluster is the first to have.
  void listCorners(std::size_t cluster, const util::Scratch<Keyed>& strays, CornerLists& lists) const;
  /// Calls work(lists, range) for the points of each cluster, as parallelRanges does.
  template <class Work>
  void forPoints(const Work& work) const;
  template <class Take>
  void forCorners(const Cluster& cluster, const Take& take) const {
    for (std::uint32_t corner = cluster.first; corner < cluster.first + cluster.count; ++corner) take(corner);
  }
  math::Vector3 position(std::uint32_t corner) const {
    const float* p = &m_Positions[std::size_t(m_Indices[corner]) * 3];
    return {p[0], p[1], p[2]};
  }
  std::uint32_t pointOf(std::uint32_t corner) const {
    return m_PointOfVertex.empty() ? m_Indices[corner] : m_PointOfVertex[m_Indices[corner]];
  }
  bool isManifold() const;
  bool enclosesVolume() const;
  void addFace(PartVolume& part, std::uint32_t corner) const;
  void join(PartVolume& whole, const PartVolume& some) const;

  const std::vector<float>& m_Positions;
  const std::vector<std::uint32_t>& m_Indices;
  const std::vector<Cluster>& m_Clusters;
  const util::Scratch<std::uint32_t> m_PointOfVertex;
  std::vector<std::uint32_t> m_FirstPoints;  ///< per cluster, and one more: of those that no earlier one has
};

inline math::Vector3 difference(const math::Vector3& a, const math::Vector3& b) {
  return {a[0] - b[0], a[1] - b[1], a[2] - b[2]};
}
inline double dot(const math::Vector3& a, const math::Vector3& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }
inline math::Vector3 cross(const math::Vector3& a, const math::Vector3& b) {
  return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}
/// With length 1, or zero if it has no direction.
inline math::Vector3 normalized(const math::Vector3& a) {
  const double length = std::sqrt(dot(a, a));
  if (!(length > 0)) return {0, 0, 0};
  return {a[0] / length, a[1] / length, a[2] / length};
}

}  // namespace nubo::scene
