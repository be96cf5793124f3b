// Starts commands for the window and knows which of them run.
#pragma once

#include <QList>
#include <QObject>
#include <functional>

#include "kernel/main/commandprocessor.h"
#include "nubo/window/commands/runningcommand.h"

namespace nubo::window {

/// Application thread.
class CommandRunner : public QObject {
  Q_OBJECT
 public:
  CommandRunner(main::CommandProcessor& processor, QObject* parent);

  /// Runs a registered command (or a clone of it, where the command wants that) with the values of the call. False if
  /// the command refuses the values or cannot run now; the log then has nothing of it.
  [[nodiscard]] bool start(const CommandCall& call);
  /// Whether this very command runs, which then must be left alone.
  bool isRunning(const main::Command& command) const;
  const QList<RunningCommand*>& running() const { return m_Running; }
  /// That the running commands write.
  QStringList files() const;
  QList<RunningCommand*> runningFor(const gui::ScenePanel* panel) const;
  void abortAll();
  /// Nothing runs or waits in the processor either.
  bool isIdle() const;
  /// Calls `function` when nothing runs any more, at once if that is so now.
  void whenIdle(const std::function<void()>& function);

 signals:
  void started(nubo::window::RunningCommand* run);
  void ended(nubo::window::RunningCommand* run);

 private:
  void end(RunningCommand* run);
  void serveIdle();

  main::CommandProcessor& m_Processor;
  QList<RunningCommand*> m_Running;
  QList<std::function<void()>> m_WhenIdle;
};

}  // namespace nubo::window
