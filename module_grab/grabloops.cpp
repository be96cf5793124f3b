#include "module_grab/grabloops.h"

#include <algorithm>

#include "module_grab/chunkwriter.h"
#include "module_trajectory/trajectory.h"

namespace nubo::grab {

namespace {

constexpr std::int64_t FramePeriod = 40;  ///< milliseconds

/// Without a first chunk the recording's OpenGL objects are given up, and it stays to others to end it.
bool openFirstChunk(FrameFlow& flow, ChunkWriter& writer) {
  if (writer.makeRoom()) return true;
  flow.cleanUpGL();
  flow.tellStuck();
  return false;
}

void end(FrameFlow& flow) {
  flow.cleanUpGL();
  flow.tellFinished();
}

/// Truncated.
int percentOf(std::uint64_t position, std::uint64_t count) {
  return static_cast<int>(static_cast<double>(position) / static_cast<double>(count) * 100);
}

}  // namespace

GrabbingClock::~GrabbingClock() = default;

void grabAtPace(FrameFlow& flow, GrabbingClock& clock, const std::atomic<bool>& stop) {
  ChunkWriter writer(flow);
  if (!openFirstChunk(flow, writer)) return;
  std::int64_t previous = clock.microseconds();
  std::int64_t pause = 0;
  while (!stop && writer.makeRoom()) {
    writer.grab(clock.microseconds());
    const std::int64_t now = clock.microseconds();
    // The time since the last frame holds the pause after that, which is then taken off once more.
    pause = std::max<std::int64_t>(FramePeriod - pause - (now - previous) / 1000, 0);
    previous = now;
    if (pause > 0) clock.sleep(pause);
  }
  writer.finish(clock.microseconds());
  end(flow);
}

void grabInStep(FrameFlow& flow, const std::atomic<bool>& stop) {
  ChunkWriter writer(flow);
  if (!openFirstChunk(flow, writer)) return;
  const trajectory::TrajectoryDrive drive;  // nobody but other recordings moves the scene meanwhile
  const trajectory::SelectedTrajectory trajectory;
  const std::uint64_t first = trajectory.position();
  std::uint64_t position = first;
  std::uint64_t count = trajectory.count();
  const auto tellPlan = [&] { flow.tellPlan(count > first ? int(count - first) : 0); };
  tellPlan();
  while (!stop && position < count && writer.makeRoom()) {
    flow.tellProgress(percentOf(position, count));
    const auto turn = drive.takeTurn();  // another panel may be recorded in step, too
    trajectory.setPosition(position);
    flow.lookFrom(trajectory.camera());
    count = trajectory.count();
    tellPlan();
    writer.grab(std::nullopt);
    ++position;
  }
  writer.finish(std::nullopt);
  end(flow);
}

}  // namespace nubo::grab
