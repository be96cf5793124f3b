// A hierarchy over boxes.
#pragma once

#include <cstdint>
#include <vector>

#include "module_scene/graph/boundingbox.h"
#include "module_scene/visibility.h"

namespace nubo::scene {

/// How much of a box is of what is looked for.
enum class Overlap { None, Part, Whole };

/// Boxes that lie together have a box around them, and these again, up to one around all: so a question need not be
/// asked of each. Built once, and refitted when boxes move. What it finds does not depend on how it is built.
class NUBO_MODULE_SCENE_EXPORT BoxTree {
 public:
  void build(const std::vector<BoundingBox>& boxes);
  /// For as many boxes as it was built of.
  void refit(const std::vector<BoundingBox>& boxes);

  /// Calls take(number, overlap) for boxes of which those around them do not say None by overlapOf(box). Whole holds
  /// for all that a box has in it; where it is Part, each of them may be anything. In no order.
  template <class OverlapOf, class Take>
  void visit(const OverlapOf& overlapOf, const Take& take) const {
    for (std::uint32_t n = 0; n < m_Nodes.size();) {
      const Node& node = m_Nodes[n];
      const Overlap overlap = overlapOf(node.box);
      const bool isLeaf = node.next == n + 1;
      if (overlap == Overlap::Whole || (overlap == Overlap::Part && isLeaf))
        for (std::uint32_t i = node.first; i < node.first + node.count; ++i) take(m_Numbers[i], overlap);
      n = overlap == Overlap::Part ? n + 1 : node.next;
    }
  }

  /// Calls take(numbers, count) for boxes that lie together, as many as possible but no more than `most`, which are
  /// not fewer than eight: each box once.
  template <class Take>
  void visitTogether(std::uint32_t most, const Take& take) const {
    for (std::uint32_t n = 0; n < m_Nodes.size();) {
      const Node& node = m_Nodes[n];
      const bool isTaken = node.count <= most;
      if (isTaken) take(&m_Numbers[node.first], node.count);
      n = isTaken ? node.next : n + 1;
    }
  }

 private:
  struct Node {
    BoundingBox box;
    std::uint32_t first, count;  ///< into m_Numbers, of all below it
    std::uint32_t next;          ///< the first node that is not below it; its own children follow it
  };

  void split(const std::vector<math::Vector3>& middles, std::uint32_t first, std::uint32_t count);

  std::vector<Node> m_Nodes;
  std::vector<std::uint32_t> m_Numbers;  ///< of the boxes, those of a node side by side
};

}  // namespace nubo::scene
