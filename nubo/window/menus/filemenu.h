// The menu of files, and of what ends.
#pragma once

#include <QMenu>
#include <QStringList>

namespace nubo::window {

class CommandRunner;
class RecentFiles;
class RunningCommands;

/// Opens models and stops commands. What it is given must outlive it. Application thread.
class FileMenu : public QMenu {
  Q_OBJECT
 public:
  FileMenu(const CommandRunner& runner, RunningCommands& running, QWidget* parent);

  QAction* openAction() const { return mp_Open; }
  RecentFiles& recentFiles() const { return *mp_Recent; }
  RecentFiles& recentResults() const { return *mp_Results; }

 signals:
  /// The user wants to be asked which.
  void openRequested();
  void filesChosen(const QStringList& files);
  void quitRequested();

 private:
  void addStopAction(const CommandRunner& runner, RunningCommands& running);

  QAction* mp_Open;
  RecentFiles* mp_Recent;
  RecentFiles* mp_Results;
};

}  // namespace nubo::window
