// The program's window.
#pragma once

#include <QMainWindow>
#include <QStringList>

#include "kernel/main/commandprocessor.h"
#include "module_scene/io/importer.h"
#include "nubo/cli/commandline.h"

namespace nubo::log {
struct Record;
}

namespace nubo::window {

class CommandActions;
class CommandRunner;
class LogFeed;
class LogView;
class MessageBar;
class PanelArea;
class RecentFiles;
class RunningCommand;
class RunningCommands;
class SavedViews;
class SceneChanger;
class SceneLoader;
class SceneTree;
class TrajectoryBar;
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
  void createParts();
  void createDocks();
  void createMenus();
  void createFileMenu();
  void createViewMenu();
  void createAppearanceMenus(QMenu* menu);
  void createPanelMenu();
  void createTrajectoryMenu();
  QMenu* createSettingsMenu();
  void createHelpMenu();
  void connectParts();
  void restoreLayout();
  void saveLayout();

  void chooseFiles();
  void dismiss(QString& message);
  void showReading(const QStringList& files);
  void sceneRead(const QStringList& files, const QStringList& failed, const io::ImportResult& result);
  void installScene(const QStringList& files, const io::ImportResult& result);
  void holdView(const RunningCommand* run);
  void closePanels(const QList<ViewPanel*>& panels);
  bool confirmsClosing(const QList<RunningCommand*>& runs);
  void runCommand(main::Command* command, const QString& title);
  void startCommand(main::Command* command, const QString& title, const main::ParameterSet* values);
  void showRecords(const QVector<log::Record>& records);
  void chooseBackground();
  void setBackground(const QColor& color);
  void setSamples(int samples);
  void showKeys();

  CommandRunner* mp_Runner;
  LogFeed* mp_LogFeed;
  SceneChanger* mp_Changer;
  SceneLoader* mp_Loader;
  PanelArea* mp_Panels;
  MessageBar* mp_Messages;
  RunningCommands* mp_Running;
  SceneTree* mp_Tree;
  LogView* mp_Log;
  QDockWidget* mp_TreeDock;
  QDockWidget* mp_LogDock;
  TrajectoryBar* mp_Trajectory;
  CommandActions* mp_Commands;
  RecentFiles* mp_Recent;
  SavedViews* mp_Views;
  app::CommandLine m_Line;  ///< what the first scene is shown with
  QString m_ReadFailure;    ///< of the last files, if they could not be read
  QString m_TrajectoryFailure;
  bool m_Ending = false;  ///< the user wants to quit as soon as nothing runs
};

}  // namespace nubo::window
