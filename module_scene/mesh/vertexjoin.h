// Finds equal items, such as vertices that many triangles repeat.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>

#include "kernel/util/largememory.h"
#include "module_scene/mesh/parallel.h"

namespace nubo::scene {

/// Mixes 32-bit words into a hash whose low bits are good.
class WordHash {
 public:
  void add(std::uint32_t word) {
    m_State = (m_State ^ word) * 0x9E3779B97F4A7C15u;
    m_State ^= m_State >> 29;
  }
  std::uint32_t value() const { return std::uint32_t((m_State * 0xBF58476D1CE4E5B9u) >> 32); }

 private:
  std::uint64_t m_State = 0x243F6A8885A308D3u;
};

/// For each item the number of one that equals it, the same for all that are equal; which one of them is
/// left to chance. `Items` has, for item numbers, std::uint32_t hash(i), bool equal(i, j) and
/// const void* address(i), where comparing begins to read. Uses all cores; for fewer than 2^31 items.
template <class Items>
util::Scratch<std::uint32_t> findRepresentatives(std::size_t count, const Items& items) {
  constexpr std::uint32_t Free = 0xFFFFFFFFu;
  std::size_t size = 64;
  while (size < count + count / 3) size *= 2;
  util::Scratch<std::atomic<std::uint32_t>> table(size);
  parallelRanges(size, [&](std::size_t begin, std::size_t end, std::size_t) {
    for (std::size_t i = begin; i < end; ++i) table[i].store(Free, std::memory_order_relaxed);
  });

  const auto insert = [&](std::uint32_t item, std::size_t slot) {
    for (;; slot = (slot + 1) & (size - 1)) {
      std::uint32_t found = table[slot].load(std::memory_order_relaxed);
      if (found == Free && table[slot].compare_exchange_strong(found, item, std::memory_order_relaxed)) return item;
      if (items.equal(found, item)) return found;
    }
  };
  util::Scratch<std::uint32_t> representatives(count);
  parallelRanges(count, [&](std::size_t begin, std::size_t end, std::size_t) {
    // Nearly every access misses the caches, so a batch of them is under way at a time.
    constexpr std::size_t Batch = 16;
    std::array<std::size_t, Batch> places;
    for (std::size_t first = begin; first < end; first += Batch) {
      const std::size_t n = std::min(Batch, end - first);
      for (std::size_t k = 0; k < n; ++k) {
        places[k] = items.hash(std::uint32_t(first + k)) & (size - 1);
        __builtin_prefetch(&table[places[k]], 1);
      }
      for (std::size_t k = 0; k < n; ++k) {
        const std::uint32_t found = table[places[k]].load(std::memory_order_relaxed);
        if (found != Free) __builtin_prefetch(items.address(found));
      }
      for (std::size_t k = 0; k < n; ++k) representatives[first + k] = insert(std::uint32_t(first + k), places[k]);
    }
  });
  return representatives;
}

}  // namespace nubo::scene
