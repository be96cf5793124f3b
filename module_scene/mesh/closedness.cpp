// Whether a surface is closed: the part of Surface that says so.
#include <algorithm>
#include <atomic>

#include "module_scene/mesh/disjointsets.h"
#include "module_scene/mesh/parallel.h"
#include "module_scene/mesh/surface.h"

namespace nubo::scene {
namespace {

/// Clusters that one thread works on in one go.
constexpr std::size_t ClustersWorthAThread = 8;

/// The ends of an edge, of which the lower one stands first, and behind them the directions in which faces pass it, a
/// bit for each. 0 is none, since its ends differ.
using Edge = std::uint64_t;
constexpr Edge Upwards = 1, Downwards = 2, Directions = Upwards | Downwards;

Edge passed(std::uint32_t from, std::uint32_t to) {
  return Edge(std::min(from, to)) << 33 | Edge(std::max(from, to)) << 2 | (from < to ? Upwards : Downwards);
}
std::uint32_t hashOf(Edge edge) { return std::uint32_t(((edge >> 2) * 0x9E3779B97F4A7C15u) >> 32); }

/// Some edges, of which each should be passed once in each direction.
class EdgeTable {
 public:
  /// `most` edges will come.
  void begin(std::size_t most) {
    std::size_t size = 64;
    while (size < 2 * most) size *= 2;
    m_Slots.assign(size, 0);
    m_Unpaired = 0;
    m_PassedAgain = 0;
  }
  void add(const std::vector<Edge>& edges) {
    const std::size_t mask = m_Slots.size() - 1;
    Edge* const table = m_Slots.data();
    std::ptrdiff_t unpaired = 0;
    Edge again = 0;
    for (const Edge edge : edges) {
      std::size_t slot = hashOf(edge) & mask;
      // Whether it is there cannot be guessed, so that no branch asks for it.
      while ((table[slot] ^ edge) * Edge(table[slot] != 0) > Directions) slot = (slot + 1) & mask;
      const Edge known = table[slot];
      again |= known & edge & Directions;
      unpaired += 1 - 2 * std::ptrdiff_t(known != 0);
      table[slot] = known | edge;
    }
    m_Unpaired += unpaired;
    m_PassedAgain |= again;
  }
  bool arePaired() const { return m_Unpaired == 0 && m_PassedAgain == 0; }

 private:
  std::vector<Edge> m_Slots;
  std::ptrdiff_t m_Unpaired = 0;
  Edge m_PassedAgain = 0;  ///< not 0 if a face has passed an edge in the direction of another one
};

}  // namespace

/// An edge between two points of which each lies in several clusters may lie in these, too; any other has all its faces
/// in one cluster, and is looked for there, which the caches hold.
class Surface::EdgePairs {
 public:
  explicit EdgePairs(const Surface& surface) : m_Surface(surface), m_IsShared(surface.m_FirstPoints.back()) {
    parallelRanges(m_IsShared.size(), [this](std::size_t begin, std::size_t end, std::size_t) {
      for (std::size_t point = begin; point < end; ++point) m_IsShared[point].store(false, std::memory_order_relaxed);
    });
    std::atomic<std::size_t> strays{0};
    forClusters([&](std::size_t cluster, std::size_t) {
      std::size_t own = 0;
      m_Surface.forCorners(m_Surface.m_Clusters[cluster], [&](std::uint32_t corner) {
        const std::uint32_t point = m_Surface.pointOf(corner);
        if (point >= m_Surface.m_FirstPoints[cluster]) return;
        m_IsShared[point].store(true, std::memory_order_relaxed);
        ++own;
      });
      strays += own;
    });
    constexpr std::size_t StraysAtOnce = std::size_t(1) << 21;
    m_Rounds = std::min(strays / StraysAtOnce + 1, Parts);
  }

  bool areAllPaired() {
    for (std::size_t round = 0; round < m_Rounds && m_ArePaired; ++round) {
      collect(round);
      pairShared();
    }
    return m_ArePaired;
  }

 private:
  using EdgeList = std::vector<Edge>;
  struct ClusterEdges {
    EdgeList own, shared;  ///< with other clusters, perhaps
  };
  static constexpr std::size_t Parts = 64;
  static std::size_t partOf(Edge edge) { return hashOf(edge) >> 26; }

  /// Pairs edges within clusters, in the first round, and lists shared ones in parts: those of some parts at a time,
  /// since where clusters share nearly all they have a list of all would take more memory than the mesh.
  void collect(std::size_t round) {
    m_Shared.assign(rangeCount(m_Surface.m_Clusters.size(), ClustersWorthAThread), std::vector<EdgeList>(Parts));
    forClusters([&](std::size_t cluster, std::size_t range) {
      // Kept for the next cluster, be it one of another mesh: of many small ones, memory would take longer than edges.
      static thread_local ClusterEdges edges;
      static thread_local EdgeTable table;
      list(cluster, edges);
      for (const Edge edge : edges.shared)
        if (const std::size_t part = partOf(edge); part % m_Rounds == round) m_Shared[range][part].push_back(edge);
      if (round > 0) return;
      table.begin(edges.own.size());
      table.add(edges.own);
      if (!table.arePaired()) m_ArePaired = false;
    });
  }

  /// Of small meshes, of which there may be many, all parts at once: the others' threads have meshes of their own.
  void pairShared() {
    if (sharedIn(0, Parts) < WorthAThread) return pairParts(0, Parts);
    runOnCores(Parts, [this](std::size_t part) { pairParts(part, part + 1); });
  }

  std::size_t sharedIn(std::size_t first, std::size_t end) const {
    std::size_t count = 0;
    for (const auto& parts : m_Shared)
      for (std::size_t part = first; part < end; ++part) count += parts[part].size();
    return count;
  }

  void pairParts(std::size_t first, std::size_t end) {
    const std::size_t count = sharedIn(first, end);
    if (count == 0) return;
    EdgeTable table;
    table.begin(count);
    for (const auto& parts : m_Shared)
      for (std::size_t part = first; part < end; ++part) table.add(parts[part]);
    if (!table.arePaired()) m_ArePaired = false;
  }

  /// Without a branch for each edge, which could not be guessed.
  void list(std::size_t cluster, ClusterEdges& edges) const {
    const Cluster& own = m_Surface.m_Clusters[cluster];
    edges.own.resize(own.count);
    edges.shared.resize(own.count);
    std::size_t ownCount = 0, sharedCount = 0;
    for (std::uint32_t corner = own.first; corner < own.first + own.count; corner += 3) {
      std::uint32_t points[3];
      bool isShared[3];
      for (std::uint32_t k = 0; k < 3; ++k) {
        points[k] = m_Surface.pointOf(corner + k);
        isShared[k] = m_IsShared[points[k]].load(std::memory_order_relaxed);
      }
      for (std::uint32_t k = 0; k < 3; ++k) {
        const std::uint32_t next = k == 2 ? 0 : k + 1;
        const bool both = unsigned(isShared[k]) & unsigned(isShared[next]);
        edges.own[ownCount] = edges.shared[sharedCount] = passed(points[k], points[next]);
        ownCount += !both;
        sharedCount += both;
      }
    }
    edges.own.resize(ownCount);
    edges.shared.resize(sharedCount);
  }

  /// Calls work(cluster, range) for all, as parallelRanges does, but for those that do not matter any more.
  template <class Work>
  void forClusters(const Work& work) const {
    parallelRanges(
        m_Surface.m_Clusters.size(),
        [&](std::size_t begin, std::size_t end, std::size_t range) {
          for (std::size_t i = begin; i < end && m_ArePaired.load(std::memory_order_relaxed); ++i) work(i, range);
        },
        ClustersWorthAThread);
  }
  const Surface& m_Surface;
  util::Scratch<std::atomic<bool>> m_IsShared;  ///< per point: whether it lies in several clusters
  std::size_t m_Rounds = 1;
  std::vector<std::vector<EdgeList>> m_Shared;  ///< per range of clusters and part
  std::atomic<bool> m_ArePaired{true};          ///< as far as is known
};

bool Surface::isClosed() const { return isManifold() && enclosesVolume(); }

bool Surface::isManifold() const { return EdgePairs(*this).areAllPaired(); }

bool Surface::enclosesVolume() const {
  DisjointSets sets(m_FirstPoints.back());
  const std::size_t faces = m_Indices.size() / 3;
  parallelRanges(faces, [&](std::size_t begin, std::size_t end, std::size_t) {
    for (std::size_t face = begin; face < end; ++face) {
      const auto corner = std::uint32_t(face * 3);
      sets.unite(pointOf(corner), pointOf(corner + 1));
      sets.unite(pointOf(corner), pointOf(corner + 2));
    }
  });
  constexpr std::size_t Many = 10000;  // parts, whose sums are not worth having several times
  const std::size_t number = sets.number();
  const std::size_t worthAThread = number > Many ? faces + 1 : WorthAThread;
  std::vector<std::vector<PartVolume>> parts(rangeCount(faces, worthAThread));
  parallelRanges(
      faces,
      [&](std::size_t begin, std::size_t end, std::size_t range) {
        parts[range].resize(number);
        for (std::size_t face = begin; face < end; ++face)
          addFace(parts[range][sets.numberOf(pointOf(std::uint32_t(face * 3)))], std::uint32_t(face * 3));
      },
      worthAThread);
  for (std::size_t i = 0; i < number; ++i) {
    PartVolume whole;
    for (const std::vector<PartVolume>& some : parts) join(whole, some[i]);
    if (!(whole.volume > 0)) return false;
  }
  return true;
}

/// Relative to a point of the part, so that distance from the origin costs no digits.
void Surface::addFace(PartVolume& part, std::uint32_t corner) const {
  if (part.corner == PartVolume::None) part.corner = corner;
  const math::Vector3 origin = position(part.corner), a = difference(position(corner), origin),
                      b = difference(position(corner + 1), origin), c = difference(position(corner + 2), origin);
  part.volume += dot(a, cross(b, c));
  const math::Vector3 area = cross(difference(b, a), difference(c, a));
  for (int axis = 0; axis < 3; ++axis) part.area[axis] += area[axis];
}

/// What some faces enclose with one point differs from what they do with another one by a prism over their area.
void Surface::join(PartVolume& whole, const PartVolume& some) const {
  if (some.corner == PartVolume::None) return;
  if (whole.corner == PartVolume::None) whole.corner = some.corner;
  whole.volume += some.volume + dot(difference(position(some.corner), position(whole.corner)), some.area);
}

}  // namespace nubo::scene
