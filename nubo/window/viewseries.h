// Runs a command for one saved view after the other.
#pragma once

#include <QObject>
#include <QPointer>
#include <QStringList>

#include "module_scene/gui/camera.h"
#include "nubo/window/commands/runningcommand.h"

namespace nubo::window {

class CommandRunner;
class MessageBar;
class PanelArea;
class SavedViews;

/// In the active panel, which has its own view again at the end. Each run has its view's name in those of its files.
/// The first that makes none of them is the last. Deletes itself when it is done. Application thread.
class ViewSeries : public QObject {
  Q_OBJECT
 public:
  /// They outlive it.
  struct Parts {
    CommandRunner& runner;
    PanelArea& panels;
    SavedViews& views;
    MessageBar& messages;
  };
  ViewSeries(const Parts& parts, const CommandCall& call, QObject* parent);

 private:
  void next();
  void judge(const RunningCommand* run);
  void end();

  const Parts m_Parts;
  const CommandCall m_Call;
  QStringList m_Names;      ///< that are still to come
  QStringList m_FileParts;  ///< what stands for them in the names of files
  gui::Camera m_Before;
  QPointer<const RunningCommand> mp_Run;
};

/// A command's values with other names of files.
main::ParameterSet withFiles(main::Command& command, const main::ParameterSet& values,
                             const std::function<QString(const QString& fileName)>& rename);

}  // namespace nubo::window
