#include "nubo/window/commands/commandrunner.h"

#include <QTimer>
#include <memory>

#include "module_scene/gui/viewer.h"

namespace nubo::window {

CommandRunner::CommandRunner(main::CommandProcessor& processor, QObject* parent)
    : QObject(parent), m_Processor(processor) {}

bool CommandRunner::start(const CommandCall& call) {
  main::Command& registered = *call.registered;
  if (isRunning(registered) || !registered.isEnabled()) return false;
  if (call.values && !registered.setParameters(*call.values)) return false;
  const bool clones = registered.runsOnClone();
  main::Command* command = clones ? registered.clone() : &registered;
  if (!command) return false;
  auto* run = new RunningCommand(*command, call, gui::Viewer::getInstance()->getActivePanel(), this);
  connect(run, &RunningCommand::finished, this, [this, run] { end(run); });
  m_Running.append(run);
  emit started(run);
  if (m_Processor.processCommand(command, main::CommandProcessor::Queued, !clones)) return true;
  end(run);
  return false;
}

bool CommandRunner::isRunning(const main::Command& command) const {
  for (const RunningCommand* run : m_Running)
    if (run->command() == &command) return true;
  return false;
}

QStringList CommandRunner::files() const {
  QStringList files;
  for (const RunningCommand* run : m_Running) files << run->files();
  return files;
}

QList<RunningCommand*> CommandRunner::runningFor(const gui::ScenePanel* panel) const {
  QList<RunningCommand*> runs;
  for (RunningCommand* run : m_Running)
    if (run->panel() == panel) runs << run;
  return runs;
}

void CommandRunner::abortAll() {
  for (RunningCommand* run : m_Running) run->abort();
}

bool CommandRunner::isIdle() const { return m_Running.isEmpty() && !m_Processor.isRunning(); }

void CommandRunner::whenIdle(const std::function<void()>& function) {
  m_WhenIdle << function;
  serveIdle();
}

void CommandRunner::end(RunningCommand* run) {
  if (!m_Running.removeOne(run)) return;
  emit ended(run);
  run->deleteLater();
}

/// Looks again and again, since the processor does not say when it has come to rest.
void CommandRunner::serveIdle() {
  constexpr int LookAgainMs = 50;
  if (m_WhenIdle.isEmpty()) return;
  if (!isIdle()) return QTimer::singleShot(LookAgainMs, this, &CommandRunner::serveIdle);
  m_WhenIdle.takeFirst()();
  serveIdle();
}

}  // namespace nubo::window
