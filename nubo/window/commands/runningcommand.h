// One command that runs for the window.
#pragma once

#include <QDateTime>
#include <QImage>
#include <QObject>
#include <QPointer>
#include <QVariantMap>
#include <optional>

#include "kernel/main/command.h"
#include "module_scene/gui/scenepanel.h"

namespace nubo::window {

/// What the user asked for.
struct CommandCall {
  main::Command* registered;  ///< which lives as long as its module
  QString title;              ///< what user interfaces call it
  std::optional<main::ParameterSet> values;
};

/// Follows a command from its start to its end, on the application thread, whatever thread the command reports on.
class RunningCommand : public QObject {
  Q_OBJECT
 public:
  /// `panel` was the active one at the start. The command has its values, and may be deleted once its monitor has
  /// finished.
  RunningCommand(main::Command& command, const CommandCall& call, gui::ScenePanel* panel, QObject* parent);

  /// What tells it from other runs of the same command: with the names of its files.
  const QString& title() const { return m_Title; }
  const CommandCall& call() const { return m_Call; }
  /// The paths of the files that it writes.
  const QStringList& files() const { return m_Files; }
  /// Those that it has written by now, as far as can be seen.
  QStringList writtenFiles() const;
  /// What it has told of what it made: "width", "height", "frames", "seconds"; and a small picture of that.
  const QVariantMap& facts() const { return m_Facts; }
  const QImage& preview() const { return m_Preview; }
  const main::Command* command() const { return mp_Command; }
  gui::ScenePanel* panel() const { return mp_Panel; }
  /// Why it failed; empty: it did not, or nobody knows.
  const QString& reason() const { return m_Reason; }
  /// Whether abort() ends it, with or without something to show for it.
  bool isAbortable() const { return m_Abortable; }
  void abort();

 signals:
  void textChanged(const QString& text);
  void detailChanged(const QString& detail);
  /// 0 to 100, or -1 while it is not known.
  void percentChanged(int percent);
  /// It was stopped before all was done; `extent` says how far it came.
  void endedEarly(const QString& extent);
  void previewChanged();
  void finished();

 private:
  main::Command* mp_Command;
  QPointer<main::CommandMonitor> mp_Monitor;  ///< null when the command is gone
  CommandCall m_Call;
  QString m_Title;
  QStringList m_Files;
  QDateTime m_Started = QDateTime::currentDateTime();
  QVariantMap m_Facts;
  QImage m_Preview;
  QString m_Reason;
  QPointer<gui::ScenePanel> mp_Panel;
  bool m_Abortable;
};

}  // namespace nubo::window
