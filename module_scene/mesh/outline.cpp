#include "module_scene/mesh/outline.h"

#include <algorithm>
#include <array>
#include <limits>

#include "module_scene/mesh/parallel.h"

namespace nubo::scene {

namespace {

/// Appends those of one cluster.
void addOutline(const std::vector<float>& positions, const Cluster& cluster, std::vector<float>& points) {
  constexpr std::size_t Directions = 14;
  std::array<float, Directions> farthest;
  farthest.fill(-std::numeric_limits<float>::infinity());
  std::array<std::size_t, Directions> at{};
  const std::size_t begin = 3 * std::size_t(cluster.firstVertex);
  const std::size_t end = begin + 3 * std::size_t(cluster.vertexCount);
  for (std::size_t i = begin; i < end; i += 3) {
    const float x = positions[i], y = positions[i + 1], z = positions[i + 2];
    const std::array<float, Directions / 2> along{x, y, z, x + y + z, x + y - z, x - y + z, x - y - z};
    for (std::size_t d = 0; d < Directions; ++d) {
      const float value = d % 2 ? -along[d / 2] : along[d / 2];
      if (value <= farthest[d]) continue;
      farthest[d] = value;
      at[d] = i;
    }
  }
  std::sort(at.begin(), at.end());
  for (auto i = at.begin(), last = std::unique(at.begin(), at.end()); i != last; ++i)
    points.insert(points.end(), &positions[*i], &positions[*i] + 3);
}

}  // namespace

std::vector<float> outlineOf(const std::vector<float>& positions, const std::vector<Cluster>& clusters) {
  constexpr std::size_t ClustersWorthAThread = 32;
  std::vector<std::vector<float>> found(rangeCount(clusters.size(), ClustersWorthAThread));
  parallelRanges(
      clusters.size(),
      [&](std::size_t begin, std::size_t end, std::size_t range) {
        for (std::size_t i = begin; i < end; ++i) addOutline(positions, clusters[i], found[range]);
      },
      ClustersWorthAThread);
  std::vector<float> points;
  for (const std::vector<float>& some : found) points.insert(points.end(), some.begin(), some.end());
  return points;
}

}  // namespace nubo::scene
