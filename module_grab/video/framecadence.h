// Where the frames of a recording stand in a video of a constant rate.
#pragma once

#include <QtGlobal>
#include <algorithm>
#include <utility>

namespace nubo::grab::video {

/// Says how often a free recording's frames are written so that the video lasts as long as the recording did. Each
/// stands from the place nearest to its time to that of the next one; of those that share a place, only the last one is
/// seen. For encoders; an object serves one recording, on one thread at a time.
class FrameCadence {
 public:
  /// `fps` is the video's frames per second, above 0.
  explicit FrameCadence(int fps) : m_Fps(fps) {}

  /// How often the frame before is written, 0 or more, now that one follows that was drawn at this time.
  qint64 advanceTo(qint64 microseconds) {
    const qint64 place = std::max(m_Place, placeOf(microseconds));
    const qint64 count = place - std::exchange(m_Place, place);
    return std::exchange(m_IsWaiting, true) ? count : 0;
  }
  /// How often the last frame is written, at least once, in a recording that ended at this time; 0 if none had a time.
  qint64 finishAt(qint64 microseconds) {
    return m_IsWaiting ? std::max<qint64>(1, placeOf(microseconds) - m_Place) : 0;
  }

 private:
  qint64 placeOf(qint64 microseconds) const { return (microseconds * m_Fps + Second / 2) / Second; }

  static constexpr qint64 Second = 1000000;
  qint64 m_Fps;
  qint64 m_Place = 0;        ///< of the last frame, which is still to be written
  bool m_IsWaiting = false;  ///< there is such a frame
};

}  // namespace nubo::grab::video
