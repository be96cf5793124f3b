// Opens models in the window.
#pragma once

#include <QObject>
#include <QStringList>

#include "module_scene/io/importer.h"
#include "nubo/cli/commandline.h"
#include "nubo/window/scene/scenethinner.h"

QT_BEGIN_NAMESPACE
class QWidget;
QT_END_NAMESPACE

namespace nubo::window {

class CommandRunner;
class MessageBar;
class PanelArea;
class RecentFiles;
class RunningCommands;
class SavedViews;
class SceneLoader;
class SceneTree;
class SectionBar;
class TrajectoryBar;

/// Has files read while the window goes on, and puts what they hold in the place of the scene when no command uses that
/// any more. Application thread.
class SceneOpener : public QObject {
  Q_OBJECT
 public:
  /// The parts of the window that show scenes, or what becomes of their files. They outlive it.
  struct Parts {
    CommandRunner& runner;
    RunningCommands& running;
    MessageBar& messages;
    PanelArea& panels;
    TrajectoryBar& trajectory;
    SectionBar& section;
    SceneTree& tree;
    RecentFiles& recent;
    SavedViews& views;
  };
  SceneOpener(const Parts& parts, QWidget* window);

  /// The first scene, with the trajectory that the line asks for.
  void openFirst(const app::CommandLine& line);
  void open(const QStringList& files);
  /// Asks the user which files, and opens them.
  void chooseFiles();
  bool isLoading() const;

 signals:
  /// Another scene is shown.
  void opened();

 private:
  void showReading(const QStringList& files);
  void sceneRead(const QStringList& files, const QStringList& failed, const io::ImportResult& result);
  void install(const QStringList& files, const io::ImportResult& result);
  void tellWarnings(const QStringList& warnings);
  void showTrajectoryFailure(const QString& text);
  void dismiss(QString& message);

  const Parts m_Parts;
  QWidget* mp_Window;
  SceneLoader* mp_Loader;
  SceneThinner m_Thinner;
  int m_Read = 0;           ///< scenes, of which some may still wait to be shown
  app::CommandLine m_Line;  ///< what the first scene is shown with
  QString m_ReadFailure;    ///< of the last files, if they could not be read
  QString m_TrajectoryFailure;
};

}  // namespace nubo::window
