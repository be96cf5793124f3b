#include "module_scene/mesh/clustering.h"

#include <array>
#include <numeric>

#include "module_scene/graph/boundingbox.h"
#include "module_scene/mesh/parallel.h"
#include "module_scene/mesh/radixsort.h"

namespace nubo::scene {
namespace {

constexpr int DigitBits = 10, CodeBits = 3 * DigitBits;
constexpr std::uint32_t Digits = 1 << DigitBits;

/// Moves the lower 10 bits three apart.
std::uint32_t spread(std::uint32_t x) {
  x = (x | (x << 16)) & 0x030000FFu;
  x = (x | (x << 8)) & 0x0300F00Fu;
  x = (x | (x << 4)) & 0x030C30C3u;
  return (x | (x << 2)) & 0x09249249u;
}

/// Keeps no more of each primitive than its code and its number: this is where loading takes the most memory.
template <int Corners>
class Clusterer {
 public:
  Clusterer(const std::vector<float>& positions, const std::vector<std::uint32_t>& indices)
      : m_Positions(positions), m_Indices(indices), m_Codes(indices.size() / Corners), m_Order(m_Codes.size()) {}

  Clustering run() {
    parallelRanges(m_Order.size(), [&](std::size_t begin, std::size_t end, std::size_t) {
      std::iota(m_Order.begin() + std::ptrdiff_t(begin), m_Order.begin() + std::ptrdiff_t(end), std::uint32_t(begin));
    });
    setCodes(0, m_Order.size());
    sort();
    split(0, m_Order.size());
    return {std::move(m_Order), joinedSmallOnes()};
  }

 private:
  std::uint32_t code(std::size_t place) const { return m_Codes[m_Order[place]]; }

  /// Of the corners: so many times the centre.
  math::Vector3 sumOf(std::uint32_t primitive) const {
    math::Vector3 sum{0, 0, 0};
    const std::uint32_t* corner = &m_Indices[std::size_t(primitive) * Corners];
    for (int k = 0; k < Corners; ++k)
      for (int axis = 0; axis < 3; ++axis) sum[axis] += m_Positions[std::size_t(corner[k]) * 3 + axis];
    return sum;
  }

  /// Gives what stands at these places of the order codes on a curve that fills the box of their centres.
  void setCodes(std::size_t begin, std::size_t end) {
    std::vector<BoundingBox> boxes(rangeCount(end - begin));
    parallelRanges(end - begin, [&](std::size_t first, std::size_t last, std::size_t range) {
      BoundingBox own;  // kept apart from its neighbours in memory while it grows
      for (std::size_t i = first; i < last; ++i) own.add(sumOf(m_Order[begin + i]));
      boxes[range] = own;
    });
    BoundingBox box;
    for (const BoundingBox& other : boxes) box.add(other);
    double extent = 0;
    for (int axis = 0; axis < 3; ++axis) extent = std::max(extent, box.max[axis] - box.min[axis]);
    const double scale = extent > 0 ? (Digits - 1) / extent : 0;
    parallelRanges(end - begin, [&](std::size_t first, std::size_t last, std::size_t) {
      for (std::size_t i = begin + first; i < begin + last; ++i) {
        const math::Vector3 sum = sumOf(m_Order[i]);
        std::uint32_t code = 0;
        for (int axis = 0; axis < 3; ++axis) code |= spread(std::uint32_t((sum[axis] - box.min[axis]) * scale)) << axis;
        m_Codes[m_Order[i]] = code;
      }
    });
  }

  /// Orders all by their codes, and those of equal codes by their numbers: by the codes' first digits, and then what
  /// has the same first digit, which mostly is so little that the caches hold it.
  void sort() {
    constexpr int Shift = CodeBits - DigitBits;
    constexpr std::size_t Few = 2048;  // of which each digit would have one or two
    if (m_Order.size() < Few) {
      util::Scratch<Keyed> pairs, scratch;
      return sort(0, m_Order.size(), CodeBits, pairs, scratch);
    }
    std::vector<std::array<std::uint32_t, Digits>> places(rangeCount(m_Order.size()));
    parallelRanges(m_Codes.size(), [&](std::size_t begin, std::size_t end, std::size_t range) {
      places[range].fill(0);
      for (std::size_t i = begin; i < end; ++i) ++places[range][m_Codes[i] >> Shift];
    });
    std::vector<std::uint32_t> ends;
    std::uint32_t place = 0;
    for (std::uint32_t digit = 0; digit < Digits; ++digit) {
      for (auto& range : places) range[digit] = std::exchange(place, place + range[digit]);
      ends.push_back(place);
    }
    parallelRanges(m_Codes.size(), [&](std::size_t begin, std::size_t end, std::size_t range) {
      for (std::size_t i = begin; i < end; ++i) m_Order[places[range][m_Codes[i] >> Shift]++] = std::uint32_t(i);
    });
    const std::size_t groups = m_Order.size() < WorthAThread ? 1 : 64;
    runOnCores(groups, [&](std::size_t group) {
      util::Scratch<Keyed> pairs, scratch;
      for (std::size_t digit = Digits * group / groups; digit < Digits * (group + 1) / groups; ++digit)
        sort(digit == 0 ? 0 : ends[digit - 1], ends[digit], Shift, pairs, scratch);
    });
  }

  /// Orders these places by the lower bits of the codes, and those of equal codes as they stand.
  void sort(std::size_t begin, std::size_t end, int bits, util::Scratch<Keyed>& pairs, util::Scratch<Keyed>& scratch) {
    pairs.clear();
    pairs.reserve(end - begin);
    for (std::size_t i = begin; i < end; ++i) pairs.push_back(keyed(code(i), m_Order[i]));
    sortByKey(pairs, bits, scratch);
    std::transform(pairs.begin(), pairs.end(), m_Order.begin() + std::ptrdiff_t(begin), itemOf);
  }

  /// Cuts a sorted range where the curve leaves one half of a box for the other, until the parts are small.
  void split(std::size_t begin, std::size_t end) {
    if (end - begin <= MaxClusterSize) {
      if (end > begin) m_Ends.push_back(std::uint32_t(end));
      return;
    }
    const std::uint32_t difference = code(begin) ^ code(end - 1);
    if (difference == 0) return splitCell(begin, end);
    std::uint32_t bit = 1u << (CodeBits - 1);
    while (!(difference & bit)) bit >>= 1;
    const auto middle =
        std::partition_point(m_Order.begin() + std::ptrdiff_t(begin), m_Order.begin() + std::ptrdiff_t(end),
                             [&](std::uint32_t primitive) { return !(m_Codes[primitive] & bit); });
    split(begin, std::size_t(middle - m_Order.begin()));
    split(std::size_t(middle - m_Order.begin()), end);
  }

  /// Looks closer at a range whose primitives all fell into the same cell of the curve.
  void splitCell(std::size_t begin, std::size_t end) {
    setCodes(begin, end);
    util::Scratch<Keyed> pairs, scratch;
    sort(begin, end, CodeBits, pairs, scratch);
    if (code(begin) != code(end - 1)) return split(begin, end);
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
  util::Scratch<std::uint32_t> m_Codes;  ///< per primitive: its place on a space-filling curve
  util::Scratch<std::uint32_t> m_Order;
  std::vector<std::uint32_t> m_Ends;
};

}  // namespace

Clustering clusterPrimitives(const std::vector<float>& positions, const std::vector<std::uint32_t>& indices,
                             int corners) {
  switch (corners) {
    case 1:
      return Clusterer<1>(positions, indices).run();
    case 2:
      return Clusterer<2>(positions, indices).run();
    default:
      return Clusterer<3>(positions, indices).run();
  }
}

}  // namespace nubo::scene
