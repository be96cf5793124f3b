// What the grabbing threads of a recording do.
#pragma once

#include <atomic>
#include <cstdint>

#include "module_grab/frameflow.h"

namespace nubo::grab {

/// The time of a grabbing thread.
class NUBO_MODULE_GRAB_EXPORT GrabbingClock {
 public:
  virtual ~GrabbingClock();
  /// Since some moment in the past; never goes back.
  virtual std::int64_t microseconds() = 0;
  virtual void sleep(std::int64_t milliseconds) = 0;
};

/// Grabs frames at a fixed pace into chunks until `stop` is set.
NUBO_MODULE_GRAB_EXPORT void grabAtPace(FrameFlow& flow, GrabbingClock& clock, const std::atomic<bool>& stop);

/// Plays the selected trajectory from its current step to the last, one frame a step, or until `stop` is set.
NUBO_MODULE_GRAB_EXPORT void grabInStep(FrameFlow& flow, const std::atomic<bool>& stop);

}  // namespace nubo::grab
