// The talk with a file that is being read.
#pragma once

#include <atomic>
#include <chrono>

namespace nubo::io {

/// Shared by who reads and who waits; any thread.
struct ImportControl {
  std::atomic<bool> cancelled{false};                             ///< set: reading ends soon, with an error
  std::atomic<int> percent{-1};                                   ///< of the present file; below 0: nobody knows
  std::chrono::milliseconds patience = std::chrono::seconds(60);  ///< how long a reader may get no further
};

}  // namespace nubo::io
