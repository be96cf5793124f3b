#include "module_scene/mesh/surface.h"

#include <algorithm>
#include <atomic>
#include <numeric>

#include "module_scene/mesh/parallel.h"

namespace nubo::scene {
namespace {

/// Clusters that one thread works on in one go.
constexpr std::size_t ClustersWorthAThread = 8;

const double CreaseCosine = std::cos(40 * std::acos(-1.0) / 180);

std::uint32_t nextCorner(std::uint32_t corner) { return corner % 3 == 2 ? corner - 2 : corner + 1; }
std::uint32_t previousCorner(std::uint32_t corner) { return corner % 3 == 0 ? corner + 2 : corner - 1; }

/// Divides the corners at one point into groups with a common normal.
class CornerGroups {
 public:
  struct Corner {
    std::uint32_t index, next, previous;  ///< the corner, and the points at the other ends of its edges
    math::Vector3 normal;                 ///< of the face, length 1 (or 0)
    math::Vector3 weighted;
  };

  void clear() { m_Corners.clear(); }
  void add(std::uint32_t index, std::uint32_t next, std::uint32_t previous, const math::Vector3& toNext,
           const math::Vector3& toPrevious) {
    const math::Vector3 n = cross(toNext, toPrevious);
    const double lengths = dot(toNext, toNext) * dot(toPrevious, toPrevious);
    Corner corner{index, next, previous, normalized(n), {0, 0, 0}};
    // Weights by which the normals of a sphere's triangulation come out exactly (N. Max, 1999).
    if (lengths > 0) corner.weighted = {n[0] / lengths, n[1] / lengths, n[2] / lengths};
    m_Corners.push_back(corner);
  }

  const std::vector<Corner>& corners() const { return m_Corners; }
  /// Per corner, after group(): a number below groupCount().
  std::uint32_t groupOf(std::size_t k) const { return m_Groups[k]; }
  std::array<float, 3> normalOf(std::size_t group) const { return m_Normals[group]; }
  std::size_t groupCount() const { return m_Normals.size(); }

  void group() {
    m_Groups.assign(m_Corners.size(), 0);
    std::uint32_t count = 1;
    if (!isSmooth()) {
      linkAcrossSmoothEdges();
      count = numberGroups();
    }
    setNormals(count);
  }

 private:
  math::Vector3 mean() const {
    math::Vector3 sum{0, 0, 0};
    for (const Corner& c : m_Corners)
      for (int axis = 0; axis < 3; ++axis) sum[axis] += c.weighted[axis];
    return normalized(sum);
  }

  /// The usual case: all faces are so near to their mean that no two of them can be far from each other.
  bool isSmooth() const {
    static const double HalfCreaseCosine = std::sqrt((1 + CreaseCosine) / 2);
    const math::Vector3 m = mean();
    return std::all_of(m_Corners.begin(), m_Corners.end(),
                       [&](const Corner& c) { return dot(c.normal, m) >= HalfCreaseCosine; });
  }

  void linkAcrossSmoothEdges() {
    m_Edges.clear();
    for (std::uint32_t k = 0; k < m_Corners.size(); ++k) {
      m_Groups[k] = k;
      m_Edges.push_back({m_Corners[k].next, k});
      m_Edges.push_back({m_Corners[k].previous, k});
    }
    std::sort(m_Edges.begin(), m_Edges.end());
    for (std::size_t e = 1; e < m_Edges.size(); ++e) {
      const auto [end, k] = m_Edges[e];
      const auto [otherEnd, other] = m_Edges[e - 1];
      if (end == otherEnd && dot(m_Corners[k].normal, m_Corners[other].normal) >= CreaseCosine)
        m_Groups[std::max(find(k), find(other))] = std::min(find(k), find(other));
    }
  }

  std::uint32_t find(std::uint32_t k) {
    while (m_Groups[k] != k) k = m_Groups[k] = m_Groups[m_Groups[k]];
    return k;
  }

  std::uint32_t numberGroups() {
    for (std::uint32_t k = 0; k < m_Corners.size(); ++k) m_Groups[k] = find(k);
    std::uint32_t count = 0;
    // A group's first corner stands before the others, so its number is known when theirs are set.
    m_Numbers.resize(m_Corners.size());
    for (std::uint32_t k = 0; k < m_Corners.size(); ++k) {
      if (m_Groups[k] == k) m_Numbers[k] = count++;
      m_Groups[k] = m_Numbers[m_Groups[k]];
    }
    return count;
  }

  void setNormals(std::uint32_t count) {
    m_Sums.assign(count, {0, 0, 0});
    for (std::size_t k = 0; k < m_Corners.size(); ++k)
      for (int axis = 0; axis < 3; ++axis) m_Sums[m_Groups[k]][axis] += m_Corners[k].weighted[axis];
    m_Normals.clear();
    for (const math::Vector3& sum : m_Sums) {
      math::Vector3 n = normalized(sum);
      if (n == math::Vector3{0, 0, 0}) n = mean();  // a face without area among others
      if (n == math::Vector3{0, 0, 0}) n = {0, 0, 1};
      m_Normals.push_back({float(n[0]), float(n[1]), float(n[2])});
    }
  }

  std::vector<Corner> m_Corners;
  std::vector<std::uint32_t> m_Groups, m_Numbers;
  std::vector<std::pair<std::uint32_t, std::uint32_t>> m_Edges;
  std::vector<math::Vector3> m_Sums;
  std::vector<std::array<float, 3>> m_Normals;
};

}  // namespace

Surface::Surface(const std::vector<float>& positions, const std::vector<std::uint32_t>& indices,
                 const std::vector<Cluster>& clusters, util::Scratch<std::uint32_t> pointOfVertex)
    : m_Positions(positions), m_Indices(indices), m_Clusters(clusters), m_PointOfVertex(std::move(pointOfVertex)) {
  m_FirstPoints.assign(clusters.size() + 1, 0);
  parallelRanges(
      clusters.size(),
      [this](std::size_t begin, std::size_t end, std::size_t) {
        for (std::size_t i = begin; i < end; ++i) {
          std::uint32_t last = 0;
          forCorners(m_Clusters[i], [&](std::uint32_t corner) { last = std::max(last, pointOf(corner) + 1); });
          m_FirstPoints[i + 1] = last;
        }
      },
      ClustersWorthAThread);
  for (std::size_t i = 0; i < clusters.size(); ++i)
    m_FirstPoints[i + 1] = std::max(m_FirstPoints[i], m_FirstPoints[i + 1]);
}

std::size_t Surface::strayCount() const {
  std::atomic<std::size_t> count{0};
  parallelRanges(
      m_Clusters.size(),
      [&](std::size_t begin, std::size_t end, std::size_t) {
        std::size_t own = 0;
        for (std::size_t i = begin; i < end; ++i)
          forCorners(m_Clusters[i], [&](std::uint32_t corner) { own += pointOf(corner) < m_FirstPoints[i]; });
        count += own;
      },
      ClustersWorthAThread);
  return count;
}

util::Scratch<Keyed> Surface::strayCorners(std::uint32_t begin, std::uint32_t end) const {
  std::vector<util::Scratch<Keyed>> found(rangeCount(m_Clusters.size(), ClustersWorthAThread));
  parallelRanges(
      m_Clusters.size(),
      [&](std::size_t firstCluster, std::size_t lastCluster, std::size_t range) {
        for (std::size_t i = firstCluster; i < lastCluster; ++i)
          forCorners(m_Clusters[i], [&, last = std::min(end, m_FirstPoints[i])](std::uint32_t corner) {
            const std::uint32_t point = pointOf(corner);
            if (point >= begin && point < last) found[range].push_back(keyed(point, corner));
          });
      },
      ClustersWorthAThread);
  util::Scratch<Keyed> strays, scratch;
  for (const util::Scratch<Keyed>& some : found) strays.insert(strays.end(), some.begin(), some.end());
  found.clear();
  sortByKey(strays, 32, scratch);
  return strays;
}

void Surface::listCorners(std::size_t cluster, const util::Scratch<Keyed>& strays, CornerLists& lists) const {
  const std::uint32_t first = m_FirstPoints[cluster], end = m_FirstPoints[cluster + 1];
  const auto here = std::lower_bound(strays.begin(), strays.end(), keyed(first, 0));
  const auto hereEnd = std::lower_bound(here, strays.end(), keyed(end, 0));
  std::vector<std::uint32_t>& begins = lists.begins;
  begins.assign(end - first + 1, 0);
  lists.firstPoint = first;
  const Cluster& own = m_Clusters[cluster];
  forCorners(own, [&](std::uint32_t corner) {
    if (const std::uint32_t point = pointOf(corner); point >= first) ++begins[point - first];
  });
  for (auto stray = here; stray != hereEnd; ++stray) ++begins[keyOf(*stray) - first];
  std::partial_sum(begins.begin(), begins.end(), begins.begin());
  lists.corners.resize(begins.back());
  // Filled from behind, so that each point's place moves down to where its corners begin.
  for (auto stray = hereEnd; stray != here;) {
    --stray;
    lists.corners[--begins[keyOf(*stray) - first]] = itemOf(*stray);
  }
  for (std::uint32_t corner = own.first + own.count; corner-- > own.first;)
    if (const std::uint32_t point = pointOf(corner); point >= first) lists.corners[--begins[point - first]] = corner;
}

template <class Work>
void Surface::forPoints(const Work& work) const {
  // Of meshes whose clusters share nearly all they have strays would take more memory than the indices.
  constexpr std::size_t StraysAtOnce = std::size_t(1) << 20;
  const std::size_t parts = strayCount() / StraysAtOnce + 1, clusters = m_Clusters.size();
  for (std::size_t part = 0; part < parts; ++part) {
    const std::size_t first = clusters * part / parts, last = clusters * (part + 1) / parts;
    const util::Scratch<Keyed> strays = strayCorners(m_FirstPoints[first], m_FirstPoints[last]);
    parallelRanges(
        last - first,
        [&](std::size_t begin, std::size_t end, std::size_t range) {
          CornerLists lists;
          for (std::size_t cluster = first + begin; cluster < first + end; ++cluster) {
            listCorners(cluster, strays, lists);
            work(lists, range);
          }
        },
        ClustersWorthAThread);
  }
}

/// Smooths the points of one range at a time, and keeps what is there once more for later.
class Surface::Smoother {
 public:
  Smoother(const Surface& surface, std::vector<float>& normals) : m_Surface(surface), m_Normals(normals) {}

  /// The corners from `begin` to before `end` in the lists, which are those at a point.
  void smooth(const CornerLists& lists, std::uint32_t begin, std::uint32_t end) {
    m_Groups.clear();
    for (std::uint32_t k = begin; k < end; ++k) {
      const std::uint32_t corner = lists.corners[k], next = nextCorner(corner), previous = previousCorner(corner);
      const math::Vector3 here = m_Surface.position(corner);
      m_Groups.add(corner, m_Surface.pointOf(next), m_Surface.pointOf(previous),
                   difference(m_Surface.position(next), here), difference(m_Surface.position(previous), here));
    }
    if (m_Groups.corners().empty()) return;
    m_Groups.group();
    m_Known.clear();
    for (std::size_t k = 0; k < m_Groups.corners().size(); ++k)
      give(m_Groups.corners()[k].index, m_Groups.normalOf(m_Groups.groupOf(k)));
  }

  std::vector<SmoothVertex> more;
  std::vector<std::pair<std::uint32_t, std::uint32_t>> usesOfMore;  ///< numbered from 0

 private:
  static constexpr std::uint32_t Itself = 0xFFFFFFFFu;
  /// A vertex of the present point; `number` is its place in `more`.
  struct Known {
    SmoothVertex vertex;
    std::uint32_t number;
  };

  /// Each vertex keeps the first normal that one of its corners has.
  void give(std::uint32_t corner, const std::array<float, 3>& normal) {
    const std::uint32_t vertex = m_Surface.m_Indices[corner];
    bool isFirst = true;
    for (const Known& known : m_Known) {
      if (known.vertex.source != vertex) continue;
      if (known.vertex.normal == normal) return use(corner, known.number);
      isFirst = false;
    }
    const std::uint32_t number = isFirst ? Itself : std::uint32_t(more.size());
    m_Known.push_back({{vertex, normal}, number});
    if (isFirst)
      std::copy(normal.begin(), normal.end(), m_Normals.begin() + std::ptrdiff_t(vertex) * 3);
    else
      more.push_back({vertex, normal});
    use(corner, number);
  }
  void use(std::uint32_t corner, std::uint32_t number) {
    if (number != Itself) usesOfMore.emplace_back(corner, number);
  }

  const Surface& m_Surface;
  std::vector<float>& m_Normals;
  CornerGroups m_Groups;
  std::vector<Known> m_Known;
};

SmoothNormals Surface::smooth() const {
  SmoothNormals result;
  result.first.reserve(m_Positions.capacity());  // as many more may come as of positions
  result.first.resize(m_Positions.size());
  std::vector<Smoother> smoothers(coreCount(), Smoother(*this, result.first));
  forPoints([&](const CornerLists& lists, std::size_t range) {
    for (std::size_t i = 0; i + 1 < lists.begins.size(); ++i)
      smoothers[range].smooth(lists, lists.begins[i], lists.begins[i + 1]);
  });
  for (Smoother& smoother : smoothers) {
    const auto offset = std::uint32_t(m_Positions.size() / 3 + result.more.size());
    for (auto& use : smoother.usesOfMore) use.second += offset;
    result.more.insert(result.more.end(), smoother.more.begin(), smoother.more.end());
    result.usesOfMore.insert(result.usesOfMore.end(), smoother.usesOfMore.begin(), smoother.usesOfMore.end());
    smoother.more = {};
    smoother.usesOfMore = {};
  }
  return result;
}

}  // namespace nubo::scene
