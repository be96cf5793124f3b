#include "module_scene/mesh/vertexorder.h"

#include <array>
#include <functional>
#include <iterator>
#include <limits>

#include "module_scene/mesh/arrangement.h"
#include "module_scene/mesh/clustering.h"
#include "module_scene/mesh/parallel.h"
#include "module_scene/mesh/positionitems.h"
#include "module_scene/mesh/vertexitems.h"

namespace nubo::scene {
namespace {

/// Clusters that one thread works on in one go.
constexpr std::size_t ClustersWorthAThread = 8;

/// Makes the vertices those of `sources`, in place.
void arrangeVertices(Geometry& g, const util::Scratch<std::uint32_t>& sources) {
  const std::function<void()> parts[]{
      [&] { arrange<3>(g.positions, sources); },       [&] { arrange<3>(g.normals, sources); },
      [&] { arrange<4>(g.colors, sources); },          [&] { arrange<2>(g.texCoords, sources); },
      [&] { arrange<2>(g.secondTexCoords, sources); }, [&] { arrange<1>(g.identities, sources); }};
  if (sources.size() >= WorthAThread) return runOnCores(std::size(parts), [&](std::size_t part) { parts[part](); });
  for (const auto& part : parts) part();
}

constexpr std::uint32_t IsNumber = 0x80000000u;

/// Replaces items by their representatives' numbers, which count these in the order in which they first occur. Returns
/// the representatives in this order. There are fewer than 2^31.
template <class Items>
util::Scratch<std::uint32_t> number(Items& items, util::Scratch<std::uint32_t> representatives) {
  // Numbers take the representatives' places, so that mostly one access finds one.
  util::Scratch<std::uint32_t> firsts;
  firsts.reserve(representatives.size());
  for (std::uint32_t& item : items) {
    std::uint32_t& known = representatives[item];
    if (!(known & IsNumber)) {
      const std::uint32_t representative = known;
      if (!(representatives[representative] & IsNumber)) {
        representatives[representative] = IsNumber | std::uint32_t(firsts.size());
        firsts.push_back(representative);
      }
      known = representatives[representative];
    }
    item = known & ~IsNumber;
  }
  return firsts;
}

/// The same for items that are all there are, each once, in their order: the numbers take their representatives'
/// places.
void numberInPlace(util::Scratch<std::uint32_t>& representatives) {
  std::uint32_t count = 0;
  for (std::uint32_t& known : representatives) {
    if (known & IsNumber) continue;
    std::uint32_t& first = representatives[known];
    if (!(first & IsNumber)) first = IsNumber | count++;
    known = first;
  }
  for (std::uint32_t& known : representatives) known &= ~IsNumber;
}

bool hasOnlyPlaces(const Geometry& g) {
  return g.normals.empty() && g.colors.empty() && g.texCoords.empty() && g.secondTexCoords.empty() &&
         g.identities.empty();
}

/// Some of all items, for findRepresentatives.
template <class Items>
class Some {
 public:
  Some(const Items& items, const util::Scratch<std::uint32_t>& numbers) : m_Items(items), m_Numbers(numbers) {}
  const void* address(std::uint32_t i) const { return m_Items.address(m_Numbers[i]); }
  bool equal(std::uint32_t a, std::uint32_t b) const { return m_Items.equal(m_Numbers[a], m_Numbers[b]); }
  std::uint32_t hash(std::uint32_t i) const { return m_Items.hash(m_Numbers[i]); }

 private:
  const Items m_Items;
  const util::Scratch<std::uint32_t>& m_Numbers;
};

/// As findRepresentatives, where only these numbers have equals, in memory that there is.
template <class Items>
void findAmong(const util::Scratch<std::uint32_t>& numbers, const Items& items,
               util::Scratch<std::uint32_t>& representatives) {
  parallelRanges(representatives.size(), [&](std::size_t begin, std::size_t end, std::size_t) {
    for (std::size_t i = begin; i < end; ++i) representatives[i] = std::uint32_t(i);
  });
  const auto found = findRepresentatives(numbers.size(), Some<Items>(items, numbers));
  for (std::size_t i = 0; i < numbers.size(); ++i) representatives[numbers[i]] = numbers[found[i]];
}

/// Numbers the vertices of one cluster after the other. What a table of all vertices would miss the caches for is found
/// in one that they hold.
class ClusterNumbers {
 public:
  /// Gives the cluster vertices of its own, which are appended to `sources`: each as its indices first name it.
  void separate(Cluster& cluster, std::vector<std::uint32_t>& indices, util::Scratch<std::uint32_t>& sources) {
    m_Table.fill({});
    cluster.firstVertex = std::uint32_t(sources.size());
    for (std::uint32_t i = cluster.first; i < cluster.first + cluster.count; ++i) {
      const std::uint32_t source = indices[i];
      std::uint32_t slot = (source * 0x9E3779B1u) >> (32 - Bits);
      while (m_Table[slot].number != 0 && m_Table[slot].source != source) slot = (slot + 1) % m_Table.size();
      if (m_Table[slot].number == 0) {
        sources.push_back(source);
        m_Table[slot] = {source, std::uint32_t(sources.size())};
      }
      indices[i] = m_Table[slot].number - 1;
    }
    cluster.vertexCount = std::uint32_t(sources.size()) - cluster.firstVertex;
  }

 private:
  struct Entry {
    std::uint32_t source, number;  ///< counted from 1; 0: there is none
  };
  static constexpr int Bits = 12;
  static_assert((1 << Bits) > 3 * MaxClusterSize, "a cluster may have as many vertices as corners");
  std::array<Entry, 1 << Bits> m_Table;
};

/// Those of clusters that have been numbered by themselves come behind those of the clusters before them.
void moveVertices(Geometry& g, std::size_t firstCluster, std::size_t lastCluster, std::uint32_t before) {
  for (std::size_t i = firstCluster; i < lastCluster; ++i) g.clusters[i].firstVertex += before;
  const std::size_t first = g.clusters[firstCluster].first;
  const std::size_t count = g.clusters[lastCluster - 1].first + g.clusters[lastCluster - 1].count - first;
  parallelRanges(count, [&](std::size_t begin, std::size_t end, std::size_t) {
    for (std::size_t i = first + begin; i < first + end; ++i) g.indices[i] += before;
  });
}

}  // namespace

util::Scratch<std::uint32_t> joinVertices(Geometry& g) {
  // Mostly few vertices have the same place as another, and only of these the rest is compared.
  util::Scratch<std::uint32_t> places = findRepresentatives(g.vertexCount(), PositionItems(g.positions)), sharing;
  const bool areShared = !hasOnlyPlaces(g) && isAny(places.size(), [&](std::size_t v) { return places[v] != v; });
  std::vector<bool> shares(areShared ? places.size() : 0);
  for (std::uint32_t v = 0; v < shares.size(); ++v)
    if (places[v] != v) shares[v] = shares[places[v]] = true;
  for (std::uint32_t v = 0; v < shares.size(); ++v)
    if (shares[v]) sharing.push_back(v);
  if (!shares.empty()) findAmong(sharing, VertexItems(g), places);
  const util::Scratch<std::uint32_t> sources = number(g.indices, std::move(places));
  sharing.clear();
  for (std::uint32_t v = 0; v < sources.size() && !shares.empty(); ++v)
    if (shares[sources[v]]) sharing.push_back(v);
  arrangeVertices(g, sources);
  if (sharing.empty() || g.kind != KindFaces) return {};
  util::Scratch<std::uint32_t> placeOfVertex(g.vertexCount());
  findAmong(sharing, PositionItems(g.positions), placeOfVertex);
  numberInPlace(placeOfVertex);
  return placeOfVertex;
}

void separateClusters(Geometry& g) {
  std::vector<util::Scratch<std::uint32_t>> found(rangeCount(g.clusters.size(), ClustersWorthAThread));
  const std::size_t count = g.vertexCount() + g.vertexCount() / 4;
  for (auto& some : found) some.reserve(count / found.size());
  util::Scratch<std::uint32_t>& sources = found.front();
  sources.reserve(count);  // to which the others are appended
  parallelRanges(
      g.clusters.size(),
      [&](std::size_t begin, std::size_t end, std::size_t range) {
        ClusterNumbers numbers;
        for (std::size_t i = begin; i < end; ++i) numbers.separate(g.clusters[i], g.indices, found[range]);
      },
      ClustersWorthAThread);
  for (std::size_t range = 1; range < found.size(); ++range) {
    moveVertices(g, g.clusters.size() * range / found.size(), g.clusters.size() * (range + 1) / found.size(),
                 std::uint32_t(sources.size()));
    sources.insert(sources.end(), found[range].begin(), found[range].end());
    found[range] = {};
  }
  arrangeVertices(g, sources);
}

void setBounds(Geometry& g) {
  parallelRanges(
      g.clusters.size(),
      [&](std::size_t begin, std::size_t end, std::size_t) {
        for (std::size_t i = begin; i < end; ++i) {
          Cluster& cluster = g.clusters[i];
          cluster.min.fill(std::numeric_limits<float>::infinity());
          cluster.max.fill(-std::numeric_limits<float>::infinity());
          const float* place = &g.positions[std::size_t(cluster.firstVertex) * 3];
          for (std::uint32_t v = 0; v < cluster.vertexCount; ++v, place += 3)
            for (std::size_t axis = 0; axis < 3; ++axis) {
              cluster.min[axis] = std::min(cluster.min[axis], place[axis]);
              cluster.max[axis] = std::max(cluster.max[axis], place[axis]);
            }
        }
      },
      ClustersWorthAThread);
  for (const Cluster& cluster : g.clusters) {
    g.box.add(math::Vector3{cluster.min[0], cluster.min[1], cluster.min[2]});
    g.box.add(math::Vector3{cluster.max[0], cluster.max[1], cluster.max[2]});
  }
}

}  // namespace nubo::scene
