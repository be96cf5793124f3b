#include "module_scene/mesh/pointpreparation.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <numeric>

#include "module_scene/mesh/clustering.h"
#include "module_scene/mesh/parallel.h"
#include "module_scene/mesh/vertexitems.h"
#include "module_scene/mesh/vertexorder.h"

namespace nubo::scene {
namespace {

/// Clusters that one thread works on in one go.
constexpr std::size_t ClustersWorthAThread = 8;

/// Moves the first of equal vertices to the front, in their order, and returns how many these are. Equal ones lie in
/// one place, and so in one cluster, but for more of them than a cluster has.
std::size_t keepDistinct(std::uint32_t* vertices, std::size_t count, const VertexItems& items) {
  constexpr std::uint32_t Free = 0xFFFFFFFFu, Size = 2 * MaxClusterSize;
  std::array<std::uint32_t, Size> table;
  table.fill(Free);
  std::size_t kept = 0;
  for (std::size_t i = 0; i < count; ++i) {
    const std::uint32_t vertex = vertices[i];
    std::uint32_t slot = items.hash(vertex) % Size;
    while (table[slot] != Free && !items.equal(table[slot], vertex)) slot = (slot + 1) % Size;
    if (table[slot] != Free) continue;
    table[slot] = vertex;
    vertices[kept++] = vertex;
  }
  return kept;
}

/// Orders them so that the first of them, however many, are spread evenly over all, and so over the room that these
/// take: every 2^n-th of them, then what lies in the middle between those, and so on.
void spreadOut(std::uint32_t* vertices, std::size_t count) {
  std::array<std::uint32_t, MaxClusterSize> before{};
  std::copy_n(vertices, count, before.begin());
  std::size_t step = 1;
  while (step < count) step *= 2;
  *vertices++ = before[0];
  for (; step > 1; step /= 2)
    for (std::size_t i = step / 2; i < count; i += step) *vertices++ = before[i];
}

/// Makes the values those of `sources`, `Each` of them for one.
template <std::size_t Each, class T>
void gather(std::vector<T>& values, const util::Scratch<std::uint32_t>& sources) {
  if (values.empty()) return;
  std::vector<T> gathered(sources.size() * Each);
  parallelRanges(sources.size(), [&](std::size_t begin, std::size_t end, std::size_t) {
    constexpr std::size_t Ahead = 24;  // nearly every access misses the caches
    for (std::size_t i = begin; i < end; ++i) {
      if (i + Ahead < end) __builtin_prefetch(&values[sources[i + Ahead] * Each]);
      std::memcpy(&gathered[i * Each], &values[sources[i] * Each], Each * sizeof(T));
    }
  });
  values.swap(gathered);
}

void gatherVertices(Geometry& g, const util::Scratch<std::uint32_t>& sources) {
  gather<3>(g.positions, sources);
  gather<3>(g.normals, sources);
  gather<4>(g.colors, sources);
  gather<2>(g.texCoords, sources);
  gather<2>(g.secondTexCoords, sources);
}

}  // namespace

void preparePoints(Geometry& g) {
  Clustering clustering = clusterPrimitives(g.positions, g.indices, 1);
  util::Scratch<std::uint32_t>& vertices = clustering.order;
  const auto beginOf = [&](std::size_t cluster) { return cluster == 0 ? 0 : clustering.ends[cluster - 1]; };
  parallelRanges(
      clustering.ends.size(),
      [&](std::size_t begin, std::size_t end, std::size_t) {
        for (std::size_t i = begin; i < end; ++i) spreadOut(&vertices[beginOf(i)], clustering.ends[i] - beginOf(i));
      },
      ClustersWorthAThread);
  parallelRanges(vertices.size(), [&](std::size_t begin, std::size_t end, std::size_t) {
    for (std::size_t i = begin; i < end; ++i) vertices[i] = g.indices[vertices[i]];
  });
  gatherVertices(g, vertices);
  std::iota(vertices.begin(), vertices.end(), 0u);

  std::vector<std::size_t> kept(clustering.ends.size());
  const VertexItems items(g);
  parallelRanges(
      kept.size(),
      [&](std::size_t begin, std::size_t end, std::size_t) {
        for (std::size_t i = begin; i < end; ++i)
          kept[i] = keepDistinct(&vertices[beginOf(i)], clustering.ends[i] - beginOf(i), items);
      },
      ClustersWorthAThread);
  std::uint32_t place = 0;
  for (std::size_t i = 0; i < kept.size(); ++i) {
    const auto count = std::uint32_t(kept[i]);
    if (beginOf(i) != place) std::copy_n(vertices.begin() + beginOf(i), count, vertices.begin() + place);
    Cluster cluster;
    cluster.first = cluster.firstVertex = place;
    cluster.count = cluster.vertexCount = count;
    g.clusters.push_back(cluster);
    place += count;
  }
  if (place < vertices.size()) {
    vertices.resize(place);
    gatherVertices(g, vertices);
  }
  g.indices.resize(place);
  std::iota(g.indices.begin(), g.indices.end(), 0u);
  setBounds(g);
}

}  // namespace nubo::scene
