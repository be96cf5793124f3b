// What the program tells its user on the terminal.
#pragma once

#include <QString>
#include <QStringList>
#include <mutex>

#include "nubo/cli/commandline.h"
#include "nubo/cli/runrecord.h"

namespace nubo::app {

class TerminalProgress;

/// Listens to the log and keeps the failures in it for whoever reports them; prints the log itself only when
/// asked to be verbose. Takes the log from any thread; lives on the application thread.
class Report {
 public:
  /// `words` stood after the program's name.
  Report(const QStringList& words, Verbosity verbosity, TerminalProgress& progress);
  ~Report();
  Report(const Report&) = delete;
  Report& operator=(const Report&) = delete;
  /// For what comes from now on.
  void setVerbosity(Verbosity verbosity);

  /// What failed since the last call, each text once, in order.
  QStringList takeFailures();
  /// Gives back what takeFailures() returned, ahead of what came since.
  void keepFailures(const QStringList& failures);
  /// The last record of consequence since the last call of takeFailures that was not a failure.
  QString lastMilestone() const;

  /// One line on standard error, "nubo: TEXT", whatever the verbosity.
  void error(const QString& text);
  /// The same, unless quiet.
  void note(const QString& text);
  /// Text on standard output, whatever the verbosity. False, with an error, where it does not arrive there.
  [[nodiscard]] bool print(const QString& text);
  /// Results are shown no more: standard output is for something else.
  void keepOutputFree() { m_IsOutputFree = true; }
  /// The same with one line, unless quiet.
  [[nodiscard]] bool result(const QString& text);

  /// What is told in a file when the run ends; what is said on standard error is in there.
  RunRecord& record() { return m_Record; }
  /// Writes that file, if there is a name for it. Returns the exit status, which is another where a run that was done
  /// cannot tell of it.
  [[nodiscard]] int finish(const QString& recordFile, int exitStatus);

 private:
  void keep(int level, const QString& message);
  void say(const QString& kind, const QString& text);

  Verbosity m_Verbosity = Verbosity::Normal;  ///< of the application thread
  bool m_IsOutputFree = false;
  TerminalProgress& m_Progress;
  RunRecord m_Record;
  mutable std::mutex m_Mutex;
  QStringList m_Failures;
  QString m_Milestone;
  int m_LogObserver;
  int m_ConsoleObserver;
};

/// The text with a number in place of each control character, such as a line break in a file's name.
QString oneLine(const QString& text);

/// Sends Qt's own messages to the log. Before the QApplication is made: where that finds no platform to run on, Qt's
/// reasons are said in one line, and the program ends.
void logQtMessages();

}  // namespace nubo::app
