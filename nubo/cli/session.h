// The host's services for one run without a window.
#pragma once

#include <future>
#include <memory>

#include "kernel/main/overseer.h"
#include "module_scene/gui/viewer.h"
#include "module_scene/io/importer.h"
#include "nubo/cli/commandline.h"

namespace nubo::app {

class Report;

/// Overseer, viewer and modules, and later the scene and its panel; taken down in reverse order. Application
/// thread, after the QApplication.
class Session {
 public:
  /// Starts reading the scenes on a thread of its own (unless there are none), and loads the modules.
  Session(const CommandLine& line, const QStringList& scenes, Report& report);
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  main::CommandProcessor& processor() { return *m_Overseer.getCommandProcessor(); }
  bool isReadingScene() const;
  /// Returns when the scenes are read, which is begun now if it was not. Events are handled meanwhile.
  void waitForScene(const CommandLine& line);
  /// Returns when everything that the modules queued while they were loaded has been done.
  void waitForQueuedWork();
  /// From where the scene can be seen.
  struct View {
    QString name;  ///< as options write it; empty: the usual one
    gui::Camera camera;
  };
  /// Waits for the scene (the built-in one, if none is named), which is read now if that was not begun; then a panel
  /// that is never visible shows it and becomes the active one. It shows the scene at all steps of its trajectory where
  /// the command line asks for one or the command `takesTime`, else as it stands. The empty text, or why there is no
  /// scene.
  [[nodiscard]] QString showScene(const CommandLine& line, bool takesTime);
  /// The views that the command line asks for, of a scene that is shown. The panel shows the first.
  const std::vector<View>& views() const { return m_Views; }
  void show(const View& view) { m_Panel->setCamera(view.camera); }

 private:
  QString findViews(const CommandLine& line, const io::ImportResult& result, bool moves);
  QString placeView(const CommandLine& line, const io::ImportResult& result, const scene::BoundingBox& box, View& view);
  void reportWarnings(const QStringList& warnings);

  Report& m_Report;
  QStringList m_Reading;  ///< the scenes that m_Import will bring
  main::Overseer m_Overseer;
  io::ImportControl m_Control;
  std::future<io::ImportResult> m_Import;
  gui::Viewer m_Viewer;
  std::unique_ptr<gui::ScenePanel> m_Panel;
  std::vector<View> m_Views;
};

}  // namespace nubo::app
