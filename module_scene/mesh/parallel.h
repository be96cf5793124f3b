// Spreads loops over the cores.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <functional>

#include "module_scene/visibility.h"

namespace nubo::scene {

/// So many turns of a short loop are worth a thread of their own.
constexpr std::size_t WorthAThread = 8192;

/// Of the machine, asked for once: the answer is read from files.
NUBO_MODULE_SCENE_EXPORT std::size_t coreCount();

/// Calls work(0) to work(count - 1), each once, at the same time as far as there are cores, and returns when all have
/// ended. What a call throws is thrown here, after calls that had begun have ended; others are left out. The caller's
/// thread works along with those of the program's pool (that of their own for callers that let others go first), and
/// alone where these are busy: so calls may be nested, and come from any thread.
NUBO_MODULE_SCENE_EXPORT void runOnCores(std::size_t count, const std::function<void(std::size_t)>& work);

/// Lets others go first from now on: the calling thread, its loops, and the threads and programs that it starts. For a
/// thread that ends with its work, since without rights there is no way back.
NUBO_MODULE_SCENE_EXPORT void letOthersGoFirst();

/// Into how many ranges parallelRanges cuts a loop: one per core, and one alone where a loop is short.
inline std::size_t rangeCount(std::size_t count, std::size_t worthAThread = WorthAThread) {
  return count < worthAThread ? 1 : std::min(coreCount(), count / worthAThread + 1);
}

/// Calls work(begin, end, range) for consecutive ranges that cover 0 to `count`, as runOnCores does.
template <class Work>
void parallelRanges(std::size_t count, const Work& work, std::size_t worthAThread = WorthAThread) {
  const std::size_t ranges = rangeCount(count, worthAThread);
  if (ranges == 1) return work(std::size_t(0), count, std::size_t(0));
  runOnCores(ranges, [&](std::size_t range) { work(count * range / ranges, count * (range + 1) / ranges, range); });
}

/// Whether holds(i) for any i below `count`.
template <class Condition>
bool isAny(std::size_t count, const Condition& holds) {
  std::atomic<bool> found{false};
  parallelRanges(count, [&](std::size_t begin, std::size_t end, std::size_t) {
    constexpr std::size_t AtOnce = 4096;  // between looks at what others have found
    for (std::size_t first = begin; first < end && !found.load(std::memory_order_relaxed); first += AtOnce)
      for (std::size_t i = first; i < std::min(first + AtOnce, end); ++i)
        if (holds(i)) found.store(true, std::memory_order_relaxed);
  });
  return found;
}

}  // namespace nubo::scene
