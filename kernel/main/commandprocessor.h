// Runs commands on threads of their own.
#pragma once

#include "kernel/main/command.h"

namespace nubo::main {

/// Every command runs on a command thread, so that a recording that lasts an hour keeps nobody
/// waiting. Commands start in the order in which they were handed over, except that a command object
/// that still runs first comes to its own end. Thread-safe.
class NUBO_KERNEL_EXPORT CommandProcessor {
 public:
  enum ExecutionMode { Wait = 0, Queued = 1 };

  CommandProcessor();
  /// Calls shutDown().
  ~CommandProcessor();

  /// Runs the command. Queued returns at once; Wait returns when it has run (on the application thread
  /// events go on being handled meanwhile; on a command thread it runs right there). The processor owns
  /// the command and deletes it after the run, on the application thread, unless `keep` is true: then it
  /// must live until then. An exception that leaves execute() is logged as a failure. False, with an
  /// owned command deleted unrun, while the program is ending.
  bool processCommand(Command* command, int mode, bool keep);

  /// True while a command runs, waits for its start or is being deleted.
  bool isRunning() const;
  /// Aborts every running command that can be aborted.
  void abortAll();
  /// Refuses new commands, drops those that have not started, aborts the running ones (again and again,
  /// for one that was just about to begin) and waits for them while the application thread goes on
  /// serving their delegates. Application thread.
  void shutDown();

 private:
  struct Private;
  std::unique_ptr<Private> d;
};

}  // namespace nubo::main
