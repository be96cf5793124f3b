// Spreads loops over the cores.
#pragma once

#include <QThread>
#include <algorithm>
#include <cstddef>
#include <future>
#include <vector>

namespace nubo::scene {

/// So many turns of a short loop are worth a thread of their own.
constexpr std::size_t WorthAThread = 8192;

/// Into how many ranges parallelRanges cuts a loop: one per core, and one alone where a loop is short.
inline std::size_t rangeCount(std::size_t count, std::size_t worthAThread = WorthAThread) {
  return std::min<std::size_t>(std::max(1, QThread::idealThreadCount()), count / worthAThread + 1);
}

/// Calls work(begin, end, range) for consecutive ranges that cover 0 to `count`, at the same time, and
/// returns when all have ended. What a call throws is thrown here.
template <class Work>
void parallelRanges(std::size_t count, const Work& work, std::size_t worthAThread = WorthAThread) {
  const std::size_t ranges = rangeCount(count, worthAThread);
  std::vector<std::future<void>> others;
  for (std::size_t range = 1; range < ranges; ++range)
    others.push_back(std::async(std::launch::async,
                                [=, &work] { work(count * range / ranges, count * (range + 1) / ranges, range); }));
  work(0, count / ranges, 0);
  for (auto& other : others) other.get();
}

}  // namespace nubo::scene
