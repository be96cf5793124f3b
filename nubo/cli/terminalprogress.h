// A line at the bottom of the terminal that shows how far the work is.
#pragma once

#include <QString>
#include <mutex>

#include "kernel/util/yprogressdialog.h"
#include "nubo/cli/progressclock.h"

namespace nubo::app {

/// Shows a text with a bar, the time gone and the time left, on standard error. Shows nothing unless that is a
/// terminal. Thread-safe.
class TerminalProgress : public util::ProgressPresenter {
 public:
  TerminalProgress();
  ~TerminalProgress() override;
  void setShown(bool wanted);

  void begin(const void* id, const QString& label, bool modal) override;
  void update(const void* id, int percent) override;
  void end(const void* id) override;

  /// What is being done from now on.
  void setText(const QString& text);
  /// Figures shown behind the text, whatever that is.
  void setDetail(const QString& detail);
  /// -1: not known.
  void setPercent(int percent);
  /// Takes the line away, until something changes again.
  void clear();

 private:
  void draw();
  void erase();

  std::mutex m_Mutex;
  bool m_Shown = false;
  bool m_Drawn = false;
  QString m_Text;
  QString m_Detail;
  ProgressClock m_Clock;  ///< since the text was another
};

/// `Building tiles [#####     ]  50 % 0:07, 0:07 left`, at most `columns` wide. A percentage of -1 leaves the bar out,
/// seconds below 1 gone or below 0 left leave out that time.
QString progressLine(const QString& text, int percent, int secondsGone, int secondsLeft, int columns);

}  // namespace nubo::app
