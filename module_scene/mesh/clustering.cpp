#include "module_scene/mesh/clustering.h"

#include <array>

#include "module_scene/graph/boundingbox.h"
#include "module_scene/mesh/parallel.h"

namespace nubo::scene {
namespace {

/// A primitive's place on a space-filling curve (upper half) and its number (lower half).
using Item = std::uint64_t;

std::uint32_t code(Item item) { return std::uint32_t(item >> 32); }

/// Moves the lower 10 bits three apart.
std::uint32_t spread(std::uint32_t x) {
  x = (x | (x << 16)) & 0x030000FFu;
  x = (x | (x << 8)) & 0x0300F00Fu;
  x = (x | (x << 4)) & 0x030C30C3u;
  return (x | (x << 2)) & 0x09249249u;
}

/// Sorts by code and keeps the order of equal ones.
void sortByCode(std::vector<Item>& items) {
  constexpr int Bits = 10, Digits = 1 << Bits, CodeBits = 30;
  std::vector<Item> sorted(items.size());
  std::vector<std::array<std::size_t, Digits>> places(rangeCount(items.size()));
  for (int shift = 32; shift < 32 + CodeBits; shift += Bits) {
    const auto digit = [shift](Item item) { return (item >> shift) & (Digits - 1); };
    parallelRanges(items.size(), [&](std::size_t begin, std::size_t end, std::size_t range) {
      places[range].fill(0);
      for (std::size_t i = begin; i < end; ++i) ++places[range][digit(items[i])];
    });
    std::size_t place = 0;
    for (int d = 0; d < Digits; ++d)
      for (auto& range : places) {
        const std::size_t here = range[d];
        range[d] = place;
        place += here;
      }
    parallelRanges(items.size(), [&](std::size_t begin, std::size_t end, std::size_t range) {
      for (std::size_t i = begin; i < end; ++i) sorted[places[range][digit(items[i])]++] = items[i];
    });
    items.swap(sorted);
  }
}

class Clusterer {
 public:
  Clusterer(const std::vector<float>& positions, const std::vector<std::uint32_t>& indices, int corners)
      : m_Positions(positions), m_Indices(indices), m_Corners(corners) {}

  Clustering run() {
    m_Items.resize(m_Indices.size() / m_Corners);
    for (std::size_t i = 0; i < m_Items.size(); ++i) m_Items[i] = i;
    setCodes(0, m_Items.size());
    sortByCode(m_Items);
    split(0, m_Items.size());
    Clustering result;
    result.ends = joinedSmallOnes();
    result.order.resize(m_Items.size());
    for (std::size_t i = 0; i < m_Items.size(); ++i) result.order[i] = std::uint32_t(m_Items[i]);
    return result;
  }

 private:
  math::Vector3 center(Item item) const {
    math::Vector3 sum{0, 0, 0};
    const std::uint32_t* corner = &m_Indices[std::size_t(std::uint32_t(item)) * m_Corners];
    for (int k = 0; k < m_Corners; ++k)
      for (int axis = 0; axis < 3; ++axis) sum[axis] += m_Positions[std::size_t(corner[k]) * 3 + axis];
    for (double& value : sum) value /= m_Corners;
    return sum;
  }

  /// Gives the items in a range codes on a curve that fills the box of their centres.
  void setCodes(std::size_t begin, std::size_t end) {
    std::vector<BoundingBox> boxes(rangeCount(end - begin));
    parallelRanges(end - begin, [&](std::size_t first, std::size_t last, std::size_t range) {
      BoundingBox own;  // kept apart from its neighbours in memory while it grows
      for (std::size_t i = first; i < last; ++i) own.add(center(m_Items[begin + i]));
      boxes[range] = own;
    });
    BoundingBox box;
    for (const BoundingBox& other : boxes) box.add(other);
    double extent = 0;
    for (int axis = 0; axis < 3; ++axis) extent = std::max(extent, box.max[axis] - box.min[axis]);
    const double scale = extent > 0 ? 1023 / extent : 0;
    parallelRanges(end - begin, [&](std::size_t first, std::size_t last, std::size_t) {
      for (std::size_t i = begin + first; i < begin + last; ++i) {
        const math::Vector3 c = center(m_Items[i]);
        std::uint32_t code = 0;
        for (int axis = 0; axis < 3; ++axis) code |= spread(std::uint32_t((c[axis] - box.min[axis]) * scale)) << axis;
        m_Items[i] = (Item(code) << 32) | std::uint32_t(m_Items[i]);
      }
    });
  }

  /// Cuts a sorted range where the curve leaves one half of a box for the other, until the parts are small.
  void split(std::size_t begin, std::size_t end) {
    if (end - begin <= MaxClusterSize) {
      if (end > begin) m_Ends.push_back(std::uint32_t(end));
      return;
    }
    const std::uint32_t difference = code(m_Items[begin]) ^ code(m_Items[end - 1]);
    if (difference == 0) return splitCell(begin, end);
    std::uint32_t bit = 1u << 29;
    while (!(difference & bit)) bit >>= 1;
    const auto middle = std::partition_point(m_Items.begin() + begin, m_Items.begin() + end,
                                             [bit](Item item) { return !(code(item) & bit); });
    split(begin, middle - m_Items.begin());
    split(middle - m_Items.begin(), end);
  }

  /// Looks closer at a range whose items all fell into the same cell of the curve.
  void splitCell(std::size_t begin, std::size_t end) {
    setCodes(begin, end);
    std::sort(m_Items.begin() + begin, m_Items.begin() + end);
    if (code(m_Items[begin]) != code(m_Items[end - 1])) return split(begin, end);
    for (; begin < end; begin += std::min<std::size_t>(MaxClusterSize, end - begin))
      m_Ends.push_back(std::uint32_t(std::min<std::size_t>(begin + MaxClusterSize, end)));
  }

  std::vector<std::uint32_t> joinedSmallOnes() const {
    std::vector<std::uint32_t> ends;
    std::uint32_t begin = 0, lastBegin = 0;
    for (const std::uint32_t end : m_Ends) {
      const bool small = end - begin < MaxClusterSize / 4 || begin - lastBegin < MaxClusterSize / 4;
      if (!ends.empty() && small && end - lastBegin <= MaxClusterSize) {
        ends.back() = end;
      } else {
        ends.push_back(end);
        lastBegin = begin;
      }
      begin = end;
    }
    return ends;
  }

  const std::vector<float>& m_Positions;
  const std::vector<std::uint32_t>& m_Indices;
  const int m_Corners;
  std::vector<Item> m_Items;
  std::vector<std::uint32_t> m_Ends;
};

}  // namespace

Clustering clusterPrimitives(const std::vector<float>& positions, const std::vector<std::uint32_t>& indices,
                             int corners) {
  return Clusterer(positions, indices, corners).run();
}

}  // namespace nubo::scene
