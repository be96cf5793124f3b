// The host's services, set up for one test and taken down after it.
#pragma once

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QMutex>
#include <QTemporaryDir>
#include <QThread>
#include <functional>
#include <vector>

#include "kernel/log/logger.h"
#include "kernel/main/commandprocessor.h"
#include "kernel/main/overseer.h"
#include "module_scene/gui/viewer.h"

namespace nubo::test {

/// Collects log records and console lines while it lives; any thread.
class LogCollector {
 public:
  LogCollector()
      : m_Log(log::Logger::getInstance()->addObserver([this](const log::Record& record) {
          const QMutexLocker lock(&m_Mutex);
          m_Records.push_back(record);
        })),
        m_Console(log::addConsoleObserver([this](const QString& line) {
          const QMutexLocker lock(&m_Mutex);
          m_Lines.push_back(line.trimmed());
        })) {}
  ~LogCollector() {
    log::Logger::getInstance()->removeObserver(m_Log);
    log::removeConsoleObserver(m_Console);
  }
  LogCollector(const LogCollector&) = delete;
  LogCollector& operator=(const LogCollector&) = delete;

  /// Messages of this level, in order; level 0: of all levels.
  std::vector<QString> messages(int level = 0) const {
    const QMutexLocker lock(&m_Mutex);
    std::vector<QString> result;
    for (const auto& record : m_Records)
      if (level == 0 || record.level == level) result.push_back(record.message);
    return result;
  }
  std::vector<QString> consoleLines() const {
    const QMutexLocker lock(&m_Mutex);
    return m_Lines;
  }
  std::vector<log::Record> records() const {
    const QMutexLocker lock(&m_Mutex);
    return m_Records;
  }
  void clear() {
    const QMutexLocker lock(&m_Mutex);
    m_Records.clear();
    m_Lines.clear();
  }

 private:
  mutable QMutex m_Mutex;
  std::vector<log::Record> m_Records;
  std::vector<QString> m_Lines;
  int m_Log;
  int m_Console;
};

/// Handles events until the condition holds; false after a generous time, which means it never will.
inline bool waitUntil(const std::function<bool()>& condition, int milliseconds = 60000) {
  QElapsedTimer timer;
  timer.start();
  while (!condition()) {
    if (timer.elapsed() > milliseconds) return false;
    QCoreApplication::processEvents();
    QThread::msleep(1);  // leaves the processor to threads of idle priority
  }
  return true;
}

/// Overseer with settings of its own, and viewer; application thread.
struct Host {
  QTemporaryDir directory;
  main::Overseer overseer{directory.filePath(QStringLiteral("settings.ini"))};
  gui::Viewer viewer;

  QString file(const QString& name) const { return directory.filePath(name); }
  /// Runs what commands and their delegates have queued.
  bool settle() {
    const bool rest = waitUntil([this] { return !overseer.getCommandProcessor()->isRunning(); });
    QCoreApplication::processEvents();
    return rest;
  }
  /// Runs a command that stays the caller's, on a command thread, and returns when it has run.
  bool run(main::Command& command) {
    return overseer.getCommandProcessor()->processCommand(&command, main::CommandProcessor::Wait, true);
  }
};

}  // namespace nubo::test
