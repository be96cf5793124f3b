#include "nubo/window/commands/runningcommand.h"

#include <QFileInfo>

#include "nubo/cli/commandarguments.h"

namespace nubo::window {

RunningCommand::RunningCommand(main::Command& command, const CommandCall& call, gui::ScenePanel* panel, QObject* parent)
    : QObject(parent),
      mp_Command(&command),
      mp_Monitor(command.monitor()),
      m_Call(call),
      m_Title(call.title),
      m_Files(app::targetFiles(command)),
      mp_Panel(panel),
      m_Abortable(command.canBeStopped()) {
  for (const QString& file : m_Files) m_Title += QLatin1Char(' ') + QFileInfo(file).fileName();
  connect(mp_Monitor, &main::CommandMonitor::textChanged, this, &RunningCommand::textChanged, Qt::QueuedConnection);
  connect(mp_Monitor, &main::CommandMonitor::detailChanged, this, &RunningCommand::detailChanged, Qt::QueuedConnection);
  connect(mp_Monitor, &main::CommandMonitor::processedChanged, this, &RunningCommand::percentChanged,
          Qt::QueuedConnection);
  connect(
      mp_Monitor, &main::CommandMonitor::reasonGiven, this, [this](const QString& reason) { m_Reason = reason; },
      Qt::QueuedConnection);
  connect(
      mp_Monitor, &main::CommandMonitor::factGiven, this,
      [this](const QString& name, const QVariant& value) { m_Facts[name] = value; }, Qt::QueuedConnection);
  connect(
      mp_Monitor, &main::CommandMonitor::previewGiven, this,
      [this](const QImage& picture) {
        m_Preview = picture;
        emit previewChanged();
      },
      Qt::QueuedConnection);
  connect(mp_Monitor, &main::CommandMonitor::endedEarly, this, &RunningCommand::endedEarly, Qt::QueuedConnection);
  connect(mp_Monitor, &main::CommandMonitor::finished, this, &RunningCommand::finished, Qt::QueuedConnection);
}

QStringList RunningCommand::writtenFiles() const {
  // File systems keep times less exactly than clocks do.
  constexpr int Inexact = -2;
  QStringList written;
  for (const QString& name : m_Files)
    if (const QFileInfo file(name); file.isFile() && file.lastModified() >= m_Started.addSecs(Inexact)) written << name;
  return written;
}

/// The processor deletes commands on the application thread, so that this one cannot go meanwhile.
void RunningCommand::abort() {
  if (mp_Monitor && m_Abortable) mp_Command->abort();
}

}  // namespace nubo::window
