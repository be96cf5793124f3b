// The program's window.
#pragma once

#include <QMainWindow>
#include <QStringList>

#include "kernel/main/commandprocessor.h"
#include "nubo/cli/commandline.h"

namespace nubo::log {
struct Record;
}

namespace nubo::window {

class CommandActions;
class CommandDock;
class CommandRunner;
class CommandStarter;
class FileMenu;
class History;
class JointSliders;
class LogView;
class MessageBar;
class PanelArea;
class PanelMenu;
class RunningCommands;
class SceneChanger;
class SceneOpener;
class SceneTree;
class SectionBar;
class SettingsMenu;
class TrajectoryBar;
class ViewMenu;
class ViewPanel;

/// Views of the global scene, what stands around them, and what the loaded modules offer. Made on the application
/// thread when overseer, viewer and modules are there; no command may be running when it is destroyed.
class MainWindow : public QMainWindow {
  Q_OBJECT
 public:
  explicit MainWindow(main::CommandProcessor& processor);
  ~MainWindow() override;

  /// Shows what the command line asks for. The scene comes when it is read.
  void open(const app::CommandLine& line);
  void openFiles(const QStringList& files);
  /// Failures from before the window was there.
  void showFailures(const QStringList& failures);
  bool isLoading() const;

 protected:
  void closeEvent(QCloseEvent* event) override;
  void dragEnterEvent(QDragEnterEvent* event) override;
  void dragMoveEvent(QDragMoveEvent* event) override;
  void dropEvent(QDropEvent* event) override;

 private:
  void createParts(main::CommandProcessor& processor);
  void createDocks();
  void createMenus();
  void createToolBars();
  void createToolBar(const QString& title, const char* name, const QList<QAction*>& actions);
  void connectParts();
  void connectHistory();
  void watchJoints(JointSliders* joints);
  void watch(ViewPanel* panel);
  void restoreLayout();
  void saveLayout();
  void showLog();
  void showRecords(const QVector<log::Record>& records);
  void showWaiting(bool waits);

  History* mp_History;
  CommandRunner* mp_Runner;
  CommandStarter* mp_Starter;
  SceneChanger* mp_Changer;
  SceneOpener* mp_Opener;
  PanelArea* mp_Panels;
  MessageBar* mp_Messages;
  RunningCommands* mp_Running;
  SceneTree* mp_Tree;
  LogView* mp_Log;
  CommandDock* mp_CommandDock;
  QDockWidget* mp_TreeDock;
  QDockWidget* mp_LogDock;
  TrajectoryBar* mp_Trajectory;
  SectionBar* mp_Section;
  CommandActions* mp_Commands;
  FileMenu* mp_FileMenu;
  ViewMenu* mp_ViewMenu;
  PanelMenu* mp_PanelMenu;
  SettingsMenu* mp_SettingsMenu;
  bool m_Ending = false;  ///< it closes by itself as soon as nothing runs
};

}  // namespace nubo::window
