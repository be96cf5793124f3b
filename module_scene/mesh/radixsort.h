// Sorts pairs of 32-bit numbers.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <utility>

#include "kernel/util/largememory.h"

namespace nubo::scene {

/// A number to sort by (upper half), and what it belongs to (lower half).
using Keyed = std::uint64_t;

inline Keyed keyed(std::uint32_t key, std::uint32_t item) { return (Keyed(key) << 32) | item; }
inline std::uint32_t keyOf(Keyed pair) { return std::uint32_t(pair >> 32); }
inline std::uint32_t itemOf(Keyed pair) { return std::uint32_t(pair); }

/// Sorts pairs of ascending items by the lower `bits` bits of their keys, which must agree in all others, and keeps the
/// order of equal ones. Quick for what the caches hold. `scratch` is for the next call, too.
inline void sortByKey(util::Scratch<Keyed>& pairs, int bits, util::Scratch<Keyed>& scratch) {
  constexpr std::size_t Few = 256;  // which a table of digits would take longer for
  constexpr int MostBits = 11;
  if (pairs.size() < Few) return std::sort(pairs.begin(), pairs.end());
  scratch.resize(pairs.size());
  const int passes = (bits + MostBits - 1) / MostBits, width = (bits + passes - 1) / passes;
  std::array<std::uint32_t, 1 << MostBits> places;
  for (int shift = 32; shift < 32 + bits; shift += width) {
    const auto digit = [shift, width](Keyed pair) { return (pair >> shift) & ((1u << width) - 1); };
    places.fill(0);
    for (const Keyed pair : pairs) ++places[digit(pair)];
    std::uint32_t place = 0;
    for (std::uint32_t& count : places) count = std::exchange(place, place + count);
    for (const Keyed pair : pairs) scratch[places[digit(pair)]++] = pair;
    pairs.swap(scratch);
  }
}

}  // namespace nubo::scene
