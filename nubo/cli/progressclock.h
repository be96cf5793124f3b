// How long work has taken, and will take.
#pragma once

#include <QElapsedTimer>
#include <QString>

namespace nubo::app {

/// Follows one piece of work from its making on. Used from one thread at a time.
class ProgressClock {
 public:
  ProgressClock() { m_Start.start(); }
  /// 0 to 100, or -1 while it is not known. One that falls belongs to a new part of the work, whose pace is another.
  void setPercent(int percent);
  int percent() const { return m_Percent; }
  int secondsGone() const { return int(m_Start.elapsed() / 1000); }
  /// -1 while nobody can tell.
  int secondsLeft() const;

 private:
  QElapsedTimer m_Start;
  QElapsedTimer m_Part;  ///< since the percentage last began anew
  int m_Percent = -1;
};

/// "0:07", "12:30" or "1:05:00".
QString clockText(int seconds);

}  // namespace nubo::app
