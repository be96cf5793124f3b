// Shows the running commands in a row.
#pragma once

#include <QHash>
#include <QWidget>
#include <functional>

#include "kernel/util/yprogressdialog.h"
#include "nubo/cli/progressclock.h"
#include "nubo/window/commands/runningcommand.h"

QT_BEGIN_NAMESPACE
class QHBoxLayout;
class QLabel;
class QProgressBar;
QT_END_NAMESPACE

namespace nubo::window {

/// Each with the time gone and, where its percentage is known, the time left. Made for the status bar, so that a
/// command's start does not change the size of the views. Application thread.
class RunningCommands : public QWidget {
  Q_OBJECT
 public:
  explicit RunningCommands(QWidget* parent = nullptr);

  /// Stays until the command has finished.
  void add(RunningCommand* run);
  /// Work that no command does, in a row of its own until end(); `id` names it. `stop`, where there is one, asks it to
  /// end.
  void begin(const void* id, const QString& label, const std::function<void()>& stop = {});
  /// Work that reports for itself and may be part of what a command does; `id` names it.
  void beginPart(const void* id, const QString& label);
  void update(const void* id, int percent);
  void end(const void* id);
  /// Asks the command that was started last to end; one that cannot be stopped goes on.
  void stopLatest();

 private:
  class Text;
  struct Row {
    QWidget* widget;
    Text* text;
    QProgressBar* bar;
    QLabel* time;
    bool isCommand;
    app::ProgressClock clock = {};
  };
  Row createRow(const QString& title, bool isCommand);
  QWidget* createStopButton(RunningCommand* run);
  void showPercent(const void* id, int percent);
  void showTimes();

  QHBoxLayout* mp_Layout;
  QHash<const void*, Row> m_Rows;
  QHash<const void*, const void*> m_Parts;  ///< work that is shown in the row of the command that does it
};

/// Shows progress that is reported through YProgressDialog among the running commands.
class RunningPresenter : public util::ProgressPresenter {
 public:
  explicit RunningPresenter(RunningCommands* commands) : mp_Commands(commands) {}
  void begin(const void* id, const QString& label, bool modal) override;
  void update(const void* id, int percent) override;
  void end(const void* id) override;

 private:
  QPointer<RunningCommands> mp_Commands;
};

}  // namespace nubo::window
