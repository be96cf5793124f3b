#include "module_scene/mesh/coarsening.h"

#include <cmath>

#include "module_scene/mesh/vertexjoin.h"

namespace nubo::scene {

namespace {

constexpr std::size_t WorthIt = 4096;  // primitives
/// Cells along the diagonal of a cluster of ordinary size: of 1024 faces, some 100 and 20 are left.
constexpr double CellsPerCluster[] = {10, 4};

/// A grid over a geometry's box. Vertices in one cell are equal.
class CellItems {
 public:
  CellItems(const Geometry& geometry, double cell) : m_Cells(geometry.vertexCount()) {
    constexpr std::uint64_t Last = (1u << 21) - 1;
    parallelRanges(m_Cells.size(), [&](std::size_t begin, std::size_t end, std::size_t) {
      for (std::size_t v = begin; v < end; ++v)
        for (int axis = 0; axis < 3; ++axis) {
          const double place = (geometry.positions[v * 3 + axis] - geometry.box.min[axis]) / cell;
          m_Cells[v] = m_Cells[v] << 21 | std::min(Last, std::uint64_t(std::max(place, 0.0)));
        }
    });
  }
  const void* address(std::uint32_t i) const { return &m_Cells[i]; }
  bool equal(std::uint32_t a, std::uint32_t b) const { return m_Cells[a] == m_Cells[b]; }
  std::uint32_t hash(std::uint32_t i) const {
    WordHash hash;
    hash.add(std::uint32_t(m_Cells[i]));
    hash.add(std::uint32_t(m_Cells[i] >> 32));
    return hash.value();
  }

 private:
  std::vector<std::uint64_t> m_Cells;
};

double meanDiagonal(const Geometry& geometry) {
  double sum = 0;
  for (const Cluster& cluster : geometry.clusters) {
    double square = 0;
    for (int axis = 0; axis < 3; ++axis) square += std::pow(double(cluster.max[axis]) - cluster.min[axis], 2);
    sum += std::sqrt(square);
  }
  return sum / double(geometry.clusters.size());
}

using Primitive = std::array<std::uint32_t, 3>;  // the last ones zero where there are fewer corners

/// The cluster's primitives between the vertices that stand for theirs, each once. The order of faces' corners is kept.
std::vector<Primitive> coarsePrimitives(const Geometry& geometry, const Cluster& cluster, std::uint32_t corners,
                                        const std::vector<std::uint32_t>& representatives) {
  std::vector<Primitive> primitives;
  for (std::uint32_t i = cluster.first; i < cluster.first + cluster.count; i += corners) {
    Primitive p{};
    for (std::uint32_t k = 0; k < corners; ++k) p[k] = representatives[geometry.indices[i + k]];
    const bool collapsed = (corners > 1 && p[0] == p[1]) || (corners > 2 && (p[1] == p[2] || p[2] == p[0]));
    if (collapsed) continue;
    std::rotate(p.begin(), std::min_element(p.begin(), p.begin() + corners), p.begin() + corners);
    primitives.push_back(p);
  }
  std::sort(primitives.begin(), primitives.end());
  primitives.erase(std::unique(primitives.begin(), primitives.end()), primitives.end());
  return primitives;
}

void addCoarseVersion(Geometry& geometry, double cell) {
  const std::uint32_t corners = std::uint32_t(geometry.indices.size() / geometry.primitiveCount());
  const std::vector<std::uint32_t> representatives =
      findRepresentatives(geometry.vertexCount(), CellItems(geometry, cell));
  CoarseVersion version;
  version.cell = cell;
  for (const Cluster& cluster : geometry.clusters) {
    version.first.push_back(std::uint32_t(geometry.coarseIndices.size()));
    for (const Primitive& primitive : coarsePrimitives(geometry, cluster, corners, representatives))
      geometry.coarseIndices.insert(geometry.coarseIndices.end(), primitive.begin(), primitive.begin() + corners);
  }
  version.first.push_back(std::uint32_t(geometry.coarseIndices.size()));
  geometry.coarseVersions.push_back(std::move(version));
}

}  // namespace

void makeCoarseVersions(const SceneElement& root) {
  for (const auto& geometry : root.getGeometries()) {
    const bool isDone = !geometry->coarseVersions.empty();  // elements may share it
    if (isDone || geometry->clusters.empty() || geometry->primitiveCount() < WorthIt) continue;
    const double diagonal = meanDiagonal(*geometry);
    if (!(diagonal > 0)) continue;
    for (const double cells : CellsPerCluster) addCoarseVersion(*geometry, diagonal / cells);
  }
  for (const auto& child : root.getChildren()) makeCoarseVersions(*child);
}

}  // namespace nubo::scene
