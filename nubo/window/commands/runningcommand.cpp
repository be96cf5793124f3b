#include "nubo/window/commands/runningcommand.h"

#include <QFileInfo>

#include "nubo/cli/commandarguments.h"

namespace nubo::window {

RunningCommand::RunningCommand(main::Command& command, const QString& title, gui::ScenePanel* panel, QObject* parent)
    : QObject(parent),
      mp_Command(&command),
      mp_Monitor(command.monitor()),
      m_Title(title),
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
  connect(mp_Monitor, &main::CommandMonitor::endedEarly, this, &RunningCommand::endedEarly, Qt::QueuedConnection);
  connect(mp_Monitor, &main::CommandMonitor::finished, this, &RunningCommand::finished, Qt::QueuedConnection);
}

/// The processor deletes commands on the application thread, so that this one cannot go meanwhile.
void RunningCommand::abort() {
  if (mp_Monitor && m_Abortable) mp_Command->abort();
}

}  // namespace nubo::window
