// The log: records with level, source, line and function, to terminal, file and observers.
#pragma once

#include <QDateTime>
#include <QString>
#include <functional>

#include "kernel/visibility.h"

/// Whose line a message is. A source whose messages carry another file's name defines it at its top, before all
/// includes.
#ifndef NUBO_LOG_SOURCE
#define NUBO_LOG_SOURCE __FILE__
#endif

/// Logs with the line where it stands: a level, the qualified name of the function, and a printf format with its
/// arguments or one ready QString.
#define NUBO_LOG(level, function, ...) \
  nubo::log::Logger::getInstance()->log(level, NUBO_LOG_SOURCE, __LINE__, function, nullptr, __VA_ARGS__)

namespace nubo::log {

/// The lower the number, the graver the record.
enum Level { Severe = 1000, Failure = 2000, Milestone = 3000, Note = 4000, Debug = 5000 };

struct Record {
  int level;
  QString file;  ///< a source of the program's from its root on, without suffix
  int line;
  QString function;
  QString message;
  QDateTime time;
  Qt::HANDLE thread;  ///< QThread::currentThreadId() of the caller
};

/// Thread-safe. Observers run on the logging thread, outside the logger's lock.
class NUBO_KERNEL_EXPORT Logger {
 public:
  using Observer = std::function<void(const Record&)>;

  static Logger* getInstance();

  /// Logs a message in printf format; `%s` takes local 8-bit text. `function` is the qualified name.
  /// `context` is reserved and null.
  void log(int level, const char* file, int line, const char* function, const void* context, const char* format, ...)
      Q_ATTRIBUTE_FORMAT_PRINTF(7, 8);
  /// Logs a ready message; percent signs in it stand for themselves.
  void log(int level, const char* file, int line, const char* function, const void* context, const QString& message);

  /// Records up to `level` go to standard error; 0 silences it. The default is Milestone.
  void setTerminalLevel(int level);
  /// Appends every record to a file as well; an empty name ends that. False if it cannot be opened.
  [[nodiscard]] bool setFile(const QString& fileName);

  /// Returns a number for removeObserver. When removeObserver returns, the observer runs no more
  /// (unless it removes itself).
  int addObserver(Observer observer);
  void removeObserver(int id);

 private:
  Logger();
  ~Logger() = delete;  // used until the very end of the process
  struct Private;
  Private* d;
};

/// Prints a line on the host's console (standard error, whatever the terminal level) in printf
/// format, and hands it to console observers.
NUBO_KERNEL_EXPORT void qConsole(const char* format, ...) Q_ATTRIBUTE_FORMAT_PRINTF(1, 2);
NUBO_KERNEL_EXPORT int addConsoleObserver(std::function<void(const QString&)> observer);
NUBO_KERNEL_EXPORT void removeConsoleObserver(int id);

}  // namespace nubo::log
