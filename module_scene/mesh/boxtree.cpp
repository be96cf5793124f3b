#include "module_scene/mesh/boxtree.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace nubo::scene {

namespace {

constexpr std::uint32_t LeafSize = 8;

math::Vector3 middleOf(const BoundingBox& box) {
  math::Vector3 middle{};
  for (std::size_t i = 0; i < middle.size(); ++i) {
    middle[i] = box.min[i] + box.max[i];
    if (!std::isfinite(middle[i])) middle[i] = 0;  // must be in some order
  }
  return middle;
}

}  // namespace

void BoxTree::build(const std::vector<BoundingBox>& boxes) {
  m_Nodes.clear();
  m_Numbers.resize(boxes.size());
  std::iota(m_Numbers.begin(), m_Numbers.end(), 0u);
  std::vector<math::Vector3> middles(boxes.size());
  std::transform(boxes.begin(), boxes.end(), middles.begin(), middleOf);
  if (!boxes.empty()) split(middles, 0, std::uint32_t(boxes.size()));
  refit(boxes);
}

void BoxTree::split(const std::vector<math::Vector3>& middles, std::uint32_t first, std::uint32_t count) {
  const auto node = m_Nodes.size();
  m_Nodes.push_back({{}, first, count, 0});
  if (count > LeafSize) {
    const auto begin = m_Numbers.begin() + first, half = begin + count / 2;
    BoundingBox box;
    std::for_each(begin, begin + count, [&](std::uint32_t number) { box.add(middles[number]); });
    std::size_t axis = 0;
    for (std::size_t i = 1; i < 3; ++i)
      if (box.max[i] - box.min[i] > box.max[axis] - box.min[axis]) axis = i;
    std::nth_element(begin, half, begin + count, [&](std::uint32_t a, std::uint32_t b) {
      return middles[a][axis] != middles[b][axis] ? middles[a][axis] < middles[b][axis] : a < b;
    });
    split(middles, first, count / 2);
    split(middles, first + count / 2, count - count / 2);
  }
  m_Nodes[node].next = std::uint32_t(m_Nodes.size());
}

void BoxTree::refit(const std::vector<BoundingBox>& boxes) {
  for (std::size_t n = m_Nodes.size(); n-- > 0;) {
    Node& node = m_Nodes[n];
    node.box = BoundingBox();
    if (node.next == n + 1) {
      for (std::uint32_t i = node.first; i < node.first + node.count; ++i) node.box.add(boxes[m_Numbers[i]]);
    } else {
      node.box.add(m_Nodes[n + 1].box);
      node.box.add(m_Nodes[m_Nodes[n + 1].next].box);
    }
  }
}

}  // namespace nubo::scene
