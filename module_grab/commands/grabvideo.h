// The command "grabvideo": records a video of the active scene panel.
#pragma once

#include <QMutex>
#include <QObject>
#include <QPointer>
#include <memory>
#include <optional>
#include <set>

#include "kernel/events/event.h"
#include "kernel/main/command.h"
#include "kernel/main/parameterpanelfactory.h"
#include "module_grab/visibility.h"
#include "module_scene/gui/scenepanel.h"

QT_BEGIN_NAMESPACE
class QFileDialog;
class QSemaphore;
QT_END_NAMESPACE

namespace nubo::grab {
class VideoHandler;
}

namespace nubo::commands::grab {

/// The registered command follows the active panel and is enabled while that can be recorded. Each recording runs
/// on a clone, whose execute() blocks its command thread until the video is encoded or abandoned. The clone must
/// not outlive the registered command.
///
/// A recording ends once, by whatever comes first: abort() and the end of grabbing have the video encoded, the
/// closing of the panel has it abandoned. What comes later, or outside a recording, does nothing.
class NUBO_MODULE_GRAB_EXPORT GrabVideo : public QObject, public main::Command {
  Q_OBJECT
 public:
  static const char* CommandName;

  /// Parameters: "filename", whose extension chooses the encoder; "width" and "height" in pixels, 0 for the panel's,
  /// odd ones grow by one; "sync", true for one frame for each step of the trajectory. Application thread.
  GrabVideo();
  ~GrabVideo() override;

  /// Disables this command until the clone's run enables it again, or until another panel becomes active.
  main::Command* clone() const override;
  /// Ends the recording and keeps what was recorded. Any thread.
  void abort() override;
  /// Failures are logged; what could be recorded before them is in the file.
  void execute() override;

 private slots:
  void grabbingPanelClosed();
  void grabbingFinished();
  void progressChanged(int value);

 private:
  struct Request;

  static main::Command* create();

  void addParameters();
  void scenePanelChanged(const main::Event* event);
  QFileDialog* createSaveDialog();

  std::optional<Request> readRequest();
  static QString sizeRefusal();
  /// Refuses what a run would fail at, and a recording in step of nothing. Application thread.
  main::ParameterSet::Refusal checkValues(const main::ParameterSet& values) const;
  main::ParameterSet::Refusal checkLargest(const main::ParameterSet& values) const;
  /// Of a recording as the trajectory stands. Application thread.
  QString summarize(const main::ParameterSet& values) const;
  main::ParameterSet::Frame frameOf(const main::ParameterSet& values) const;
  bool checkSize(const Request& request);
  /// Makes the active panel the one that this recording grabs; null, with the reason in the log, if there is none
  /// or if it is being recorded.
  gui::ScenePanel* claimPanel(const Request& request);
  /// Lets the panel go, unless it is closed by now, and enables the registered command if it is still the active one.
  void releasePanel();
  void record(const Request& request, gui::ScenePanel* panel);
  bool startHandler(const Request& request, gui::ScenePanel* panel);
  void finishVideo(const QString& fileName);
  void abandonVideo();

  void beginExecution();
  void endExecution();
  void endRecording(bool abandon);
  void enableRegisteredCommand();

  // Both are only touched on the application thread, which decides there what is enabled.
  static std::set<QObject*> m_PanelSet;
  static QPointer<gui::ScenePanel> mp_ActivePanel;
  static bool m_Registered;

  gui::ScenePanel* mp_GrabbedPanel = nullptr;  ///< null once it is closed; application thread
  std::unique_ptr<main::FileParameterPanelFactory> mp_PanelFactory;
  std::unique_ptr<QSemaphore> mp_GrabSemaphore;
  std::unique_ptr<nubo::grab::VideoHandler> mp_VideoHandler;
  GrabVideo* mp_Prototype = nullptr;

  QMutex m_EndMutex;  ///< guards mp_GrabSemaphore against its deletion, and m_Ended and m_Aborted while it lives
  bool m_Ended = false;
};

}  // namespace nubo::commands::grab
