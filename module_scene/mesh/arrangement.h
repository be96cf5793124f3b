// Puts values into another order.
#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

#include "kernel/util/largememory.h"
#include "module_scene/mesh/parallel.h"

namespace nubo::scene {

/// Of a list of places those whose value comes from behind; not all of them where that is more than a few.
inline util::Scratch<std::uint32_t> fromBehind(const util::Scratch<std::uint32_t>& sources, std::size_t few) {
  util::Scratch<std::uint32_t> places;
  for (std::uint32_t i = 0; i < sources.size() && places.size() <= few; ++i)
    if (sources[i] > i) places.push_back(i);
  return places;
}

/// Makes items of `Each` values those of `sources`, of which there may be more than items, in place: one column of the
/// values after the other, since a second list of all would be more than anything else of loading takes. Where few
/// items come from behind, which is usual, from the last one to the first, but for those. Where far fewer are left they
/// get a list of their own, since this one would keep its memory.
template <std::size_t Each, class T>
void arrange(std::vector<T>& values, const util::Scratch<std::uint32_t>& sources) {
  if (values.empty()) return;
  if (sources.size() * Each * 4 < values.size() * 3) {
    std::vector<T> fewer = util::listWithRoom<T>(sources.size() * Each);
    for (const std::uint32_t source : sources)
      fewer.insert(fewer.end(), values.begin() + source * Each, values.begin() + (source + 1) * Each);
    return values.swap(fewer);
  }
  values.resize(std::max(values.size(), sources.size() * Each));
  const std::size_t few = sources.size() / 16;
  if (const util::Scratch<std::uint32_t> behind = fromBehind(sources, few); behind.size() <= few) {
    util::Scratch<T> kept;
    for (const std::uint32_t i : behind)
      kept.insert(kept.end(), values.begin() + sources[i] * Each, values.begin() + (sources[i] + 1) * Each);
    for (std::size_t i = sources.size(); i-- > 0;)
      if (sources[i] < i) std::copy_n(values.begin() + sources[i] * Each, Each, values.begin() + i * Each);
    for (std::size_t k = 0; k < behind.size(); ++k)
      std::copy_n(kept.begin() + k * Each, Each, values.begin() + behind[k] * Each);
  } else {
    util::Scratch<T> column(sources.size());
    for (std::size_t k = 0; k < Each; ++k) {
      parallelRanges(sources.size(), [&](std::size_t begin, std::size_t end, std::size_t) {
        for (std::size_t i = begin; i < end; ++i) column[i] = values[sources[i] * Each + k];
      });
      parallelRanges(sources.size(), [&](std::size_t begin, std::size_t end, std::size_t) {
        for (std::size_t i = begin; i < end; ++i) values[i * Each + k] = column[i];
      });
    }
  }
  values.resize(sources.size() * Each);
}

}  // namespace nubo::scene
