// The arithmetic of a recording: pauses between frames, percentages, and when a chunk is full.
#pragma once

#include <algorithm>
#include <cstdint>

namespace nubo::grab {

/// The pauses of a free recording. The clock that feeds it runs from the end of one frame to the end of the
/// next, so that it holds the pause between them, which is then taken off once more.
class Pacing {
 public:
  static constexpr std::int64_t FramePeriod = 40;  ///< milliseconds

  /// Milliseconds to sleep now, after `elapsed` milliseconds since the last call (or since the start).
  std::int64_t pauseAfter(std::int64_t elapsed) {
    m_Carry = std::max<std::int64_t>(FramePeriod - m_Carry - elapsed, 0);
    return m_Carry;
  }

 private:
  std::int64_t m_Carry = 0;  ///< the pause before the frame that is being grabbed
};

/// How far step `position` of `count` is, truncated. `count` is not 0.
inline int percentOfSteps(std::uint64_t position, std::uint64_t count) {
  return static_cast<int>(static_cast<double>(position) / static_cast<double>(count) * 100);
}

/// A chunk that has reached the limit is handed over before the next frame; sizes in bytes.
inline bool isChunkFull(std::int64_t size, std::uint32_t limit) { return size >= static_cast<std::int64_t>(limit); }

/// A chunk may live in memory while more than one chunk's worth is free; sizes in bytes.
inline bool fitsInMemory(std::uint64_t freeMemory, std::uint32_t limit) { return freeMemory > limit; }

}  // namespace nubo::grab
