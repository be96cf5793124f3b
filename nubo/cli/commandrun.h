// One run of a command, as the user of a terminal sees it.
#pragma once

#include <QString>
#include <memory>
#include <optional>

#include "kernel/main/command.h"
#include "kernel/main/commandprocessor.h"

namespace nubo::app {

class Report;
class TerminalProgress;

/// The exit statuses of the program.
enum ExitStatus { Done = 0, Failed = 1, WrongCall = 2, Interrupted = 130 };

/// Runs a command with the inputs that are current in it. Application thread.
class CommandRun {
 public:
  /// `call` names the command in messages.
  CommandRun(main::Command& command, const QString& call, Report& report, TerminalProgress& progress);

  /// Returns when the command has ended. After `duration` seconds, or with Ctrl-C, it is asked to end; a second
  /// Ctrl-C (the first, where it cannot be asked) ends the process with Interrupted. Failures are reported.
  [[nodiscard]] ExitStatus run(main::CommandProcessor& processor, std::optional<double> duration);

 private:
  void interrupt();
  ExitStatus judge();

  main::Command& m_Command;
  QString m_Call;
  Report& m_Report;
  TerminalProgress& m_Progress;
  QString m_Reason;  ///< the command's, for what failed last; written on its thread
  bool m_Interrupted = false;
};

}  // namespace nubo::app
