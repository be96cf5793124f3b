// Collects what is logged while it lives.
#pragma once

#include <QString>
#include <mutex>
#include <string>
#include <vector>

#include "kernel/log/logger.h"

namespace nubo::test {

/// Log records and console lines; any thread.
class LogCollector {
 public:
  LogCollector()
      : m_Log(log::Logger::getInstance()->addObserver([this](const log::Record& record) {
          const std::lock_guard<std::mutex> lock(m_Mutex);
          m_Records.push_back(record);
        })),
        m_Console(log::addConsoleObserver([this](const QString& line) {
          const std::lock_guard<std::mutex> lock(m_Mutex);
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
    std::vector<QString> result;
    for (const auto& record : records())
      if (level == 0 || record.level == level) result.push_back(record.message);
    return result;
  }
  /// The same as texts that matchers take and failing tests print.
  std::vector<std::string> texts(int level = 0) const {
    std::vector<std::string> result;
    for (const QString& message : messages(level)) result.push_back(message.toStdString());
    return result;
  }
  std::vector<QString> consoleLines() const {
    const std::lock_guard<std::mutex> lock(m_Mutex);
    return m_Lines;
  }
  std::vector<log::Record> records() const {
    const std::lock_guard<std::mutex> lock(m_Mutex);
    return m_Records;
  }
  void clear() {
    const std::lock_guard<std::mutex> lock(m_Mutex);
    m_Records.clear();
    m_Lines.clear();
  }

 private:
  mutable std::mutex m_Mutex;
  std::vector<log::Record> m_Records;
  std::vector<QString> m_Lines;
  int m_Log;
  int m_Console;
};

}  // namespace nubo::test
