// One run of a command, as the user of a terminal sees it.
#pragma once

#include <QJsonObject>
#include <QObject>
#include <QString>

#include "kernel/main/command.h"
#include "kernel/main/commandprocessor.h"

namespace nubo::app {

class Report;
class TerminalProgress;
struct CommandLine;

/// The exit statuses of the program. A run that a signal ended before its time has 128 + the signal's number.
enum ExitStatus { Done = 0, Failed = 1, WrongCall = 2, EndedBySignal = 128 };

/// Runs a command with the inputs that are current in it. Application thread.
class CommandRun {
 public:
  /// `call` names the command in messages. `handicap` is what the user had better know of a failure: what is missing on
  /// this machine; often empty.
  CommandRun(main::Command& command, const QString& call, const QString& handicap, Report& report,
             TerminalProgress& progress);

  /// Returns the exit status when the command has ended. After the line's duration, or with a signal such as Ctrl-C, it
  /// is asked to end; a second one a moment later (the first, where it cannot be asked) ends the process. Failures, and
  /// what was left undone, are reported.
  [[nodiscard]] int run(main::CommandProcessor& processor, const CommandLine& line);

 private:
  void observe();
  void interrupt(int signal, const QString& recordFile);
  int judge();
  QStringList failures(const QString& milestone);
  bool reportFiles(const QStringList& files);
  /// Puts what the run tells of itself into the record.
  void record();

  main::Command& m_Command;
  QString m_Call;
  QString m_Handicap;
  Report& m_Report;
  TerminalProgress& m_Progress;
  int m_Signal = 0;  ///< that asked the command to end; 0: none
  // Written by the command on its thread, and read here when it has ended.
  QString m_Reason;      ///< for what failed last
  QString m_EndedEarly;  ///< what it did of all that it was to do
  QJsonObject m_Facts;
  QObject m_Observer;  ///< the command, which may be run again, tells nothing more when this run is over
};

}  // namespace nubo::app
