// The program from its words to its exit status.
#pragma once

#include <functional>

#include "nubo/cli/commandline.h"
#include "nubo/cli/commandrun.h"
#include "nubo/cli/report.h"
#include "nubo/cli/runsettings.h"
#include "nubo/cli/session.h"

namespace nubo::app {

class TerminalProgress;

/// What the user called for, done with the host's services. Application thread, after the QApplication.
class Program {
 public:
  /// Shows the window until it is closed and returns its exit status. `failures` happened before there was one.
  using ShowWindow =
      std::function<int(main::CommandProcessor& processor, const CommandLine& line, const QStringList& failures)>;

  /// `line` is what could be read of `words` without commands. `noOpenGL` says why nothing can be drawn; mostly empty.
  Program(const QStringList& words, const CommandLine& line, const QString& noOpenGL);
  /// Returns the exit status.
  [[nodiscard]] int run(const ShowWindow& showWindow);

 private:
  Program(const QStringList& words, const CommandLine& line, const QString& noOpenGL,
          const std::shared_ptr<TerminalProgress>& progress);

  int serve(const ShowWindow& showWindow);
  /// Reads the call again, now with the commands that there are.
  int settle();
  int refuse(const QString& error);
  int answer();
  int runCommand();
  int run(main::Command& registered, const RunSettings& settings);
  /// With one view after the other, whose names stand in those of the files.
  int runViews(main::Command& registered, const RunSettings& settings);
  int runOnce(main::Command& registered, const RunSettings& settings);
  /// Why the command cannot run at all, whatever the scene; "" if it can.
  QString whyCallWrong(main::Command& command);
  QString whyFilesRefused(main::Command& command);
  void recordCall(const RunSettings& settings);
  /// Whoever ends the program meanwhile finds a report of it.
  void waitForScene();
  /// Brings the scene in front of the command; "", or why the command cannot run.
  QString prepare(const main::Command& command);
  QString call() const { return callText(m_Line.command, m_Line.arguments); }

  QStringList m_Words;
  CommandLine m_Line;
  Arguments m_Arguments;  ///< those of the command itself
  QString m_NoOpenGL;
  std::shared_ptr<TerminalProgress> mp_Progress;
  Report m_Report;
  Session m_Session;
};

}  // namespace nubo::app
