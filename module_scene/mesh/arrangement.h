// Puts values into another order.
#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

#include "kernel/util/largememory.h"
#include "module_scene/mesh/parallel.h"

namespace nubo::scene {

/// Makes items of `each` values those of `sources`, of which there may be more than items, in place: one column of the
/// values after the other, since a second list of all would be more than anything else of loading takes. Where no item
/// comes from behind, which is usual, from the last one to the first. Where far fewer are left they get a list of their
/// own, since this one would keep its memory.
template <class T>
void arrange(std::vector<T>& values, std::size_t each, const util::Scratch<std::uint32_t>& sources) {
  if (values.empty()) return;
  if (sources.size() * each * 4 < values.size() * 3) {
    std::vector<T> fewer = util::listWithRoom<T>(sources.size() * each);
    for (const std::uint32_t source : sources)
      fewer.insert(fewer.end(), values.begin() + source * each, values.begin() + (source + 1) * each);
    return values.swap(fewer);
  }
  values.resize(std::max(values.size(), sources.size() * each));
  std::size_t place = 0;
  if (std::all_of(sources.begin(), sources.end(), [&](std::uint32_t source) { return source <= place++; })) {
    for (std::size_t i = sources.size(); i-- > 0;)
      if (sources[i] != i) std::copy_n(values.begin() + sources[i] * each, each, values.begin() + i * each);
  } else {
    util::Scratch<T> column(sources.size());
    for (std::size_t k = 0; k < each; ++k) {
      parallelRanges(sources.size(), [&](std::size_t begin, std::size_t end, std::size_t) {
        for (std::size_t i = begin; i < end; ++i) column[i] = values[sources[i] * each + k];
      });
      parallelRanges(sources.size(), [&](std::size_t begin, std::size_t end, std::size_t) {
        for (std::size_t i = begin; i < end; ++i) values[i * each + k] = column[i];
      });
    }
  }
  values.resize(sources.size() * each);
}

}  // namespace nubo::scene
