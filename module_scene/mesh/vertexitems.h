// Whole vertices compared, for findRepresentatives and the like.
#pragma once

#include <cstring>
#include <vector>

#include "module_scene/graph/geometry.h"
#include "module_scene/mesh/vertexjoin.h"

namespace nubo::scene {

/// All that makes a vertex, for joining those that are the same bit by bit.
class VertexItems {
 public:
  explicit VertexItems(const Geometry& g) : m_Geometry(g) {}
  const void* address(std::uint32_t i) const { return &m_Geometry.positions[std::size_t(i) * 3]; }
  bool equal(std::uint32_t a, std::uint32_t b) const {
    return same(m_Geometry.positions, 3, a, b) && same(m_Geometry.normals, 3, a, b) &&
           same(m_Geometry.colors, 4, a, b) && same(m_Geometry.texCoords, 2, a, b) &&
           same(m_Geometry.secondTexCoords, 2, a, b) && same(m_Geometry.identities, 1, a, b);
  }
  std::uint32_t hash(std::uint32_t i) const {
    WordHash hash;
    add(hash, m_Geometry.positions, 3, i);
    add(hash, m_Geometry.normals, 3, i);
    add(hash, m_Geometry.colors, 4, i);
    add(hash, m_Geometry.texCoords, 2, i);
    add(hash, m_Geometry.secondTexCoords, 2, i);
    add(hash, m_Geometry.identities, 1, i);
    return hash.value();
  }

 private:
  template <class T>
  static bool same(const std::vector<T>& values, int each, std::uint32_t a, std::uint32_t b) {
    return values.empty() ||
           std::memcmp(&values[std::size_t(a) * each], &values[std::size_t(b) * each], sizeof(T) * each) == 0;
  }
  template <class T>
  static void add(WordHash& hash, const std::vector<T>& values, int each, std::uint32_t i) {
    if (values.empty()) return;
    for (std::size_t byte = 0; byte < sizeof(T) * each; byte += 4) {
      std::uint32_t word;
      std::memcpy(&word, reinterpret_cast<const char*>(&values[std::size_t(i) * each]) + byte, 4);
      hash.add(word);
    }
  }

  const Geometry& m_Geometry;
};

}  // namespace nubo::scene
