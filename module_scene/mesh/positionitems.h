// Vertices compared by where they lie, for findRepresentatives.
#pragma once

#include <cstring>
#include <vector>

#include "module_scene/mesh/vertexjoin.h"

namespace nubo::scene {

/// Compares vertices bit by bit; negative zeros must have been made positive.
class PositionItems {
 public:
  explicit PositionItems(const std::vector<float>& positions) : m_Positions(positions) {}
  const void* address(std::uint32_t i) const { return &m_Positions[std::size_t(i) * 3]; }
  bool equal(std::uint32_t a, std::uint32_t b) const { return std::memcmp(address(a), address(b), 12) == 0; }
  std::uint32_t hash(std::uint32_t i) const {
    WordHash hash;
    std::uint32_t words[3];
    std::memcpy(words, address(i), sizeof words);
    for (const std::uint32_t word : words) hash.add(word);
    return hash.value();
  }

 private:
  const std::vector<float>& m_Positions;
};

}  // namespace nubo::scene
