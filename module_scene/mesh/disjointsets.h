// Sets of numbers that are found by uniting them.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <utility>

#include "kernel/util/largememory.h"

namespace nubo::scene {

/// Sets that are united by several threads at a time; the lowest member stands for its set.
class DisjointSets {
 public:
  explicit DisjointSets(std::size_t count) : m_Parents(count) {
    for (std::size_t i = 0; i < count; ++i) m_Parents[i].store(std::uint32_t(i), std::memory_order_relaxed);
  }
  void unite(std::uint32_t a, std::uint32_t b) {
    // Mostly they are known to be in one set.
    if (m_Parents[a].load(std::memory_order_relaxed) == m_Parents[b].load(std::memory_order_relaxed)) return;
    while ((a = find(a)) != (b = find(b))) {
      if (a < b) std::swap(a, b);
      std::uint32_t root = a;
      if (m_Parents[a].compare_exchange_strong(root, b, std::memory_order_relaxed)) return;
    }
  }
  /// Numbers the sets when all are united, and returns how many there are.
  std::uint32_t number() {
    std::uint32_t sets = 0;
    for (std::size_t i = 0; i < m_Parents.size(); ++i) {
      // Its parent has a lower number, or is itself.
      const std::uint32_t parent = m_Parents[i].load(std::memory_order_relaxed);
      m_Parents[i].store(parent == i ? sets++ : m_Parents[parent].load(std::memory_order_relaxed),
                         std::memory_order_relaxed);
    }
    return sets;
  }
  /// Of a member's set, after number().
  std::uint32_t numberOf(std::uint32_t member) const { return m_Parents[member].load(std::memory_order_relaxed); }

 private:
  std::uint32_t find(std::uint32_t x) {
    for (;;) {
      std::uint32_t parent = m_Parents[x].load(std::memory_order_relaxed);
      if (parent == x) return x;
      const std::uint32_t above = m_Parents[parent].load(std::memory_order_relaxed);
      if (above == parent) return parent;
      m_Parents[x].compare_exchange_weak(parent, above, std::memory_order_relaxed);
      x = above;
    }
  }

  util::Scratch<std::atomic<std::uint32_t>> m_Parents;
};

}  // namespace nubo::scene
