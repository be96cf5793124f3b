// Collects what is logged while it lives.
#pragma once

#include <QStringList>
#include <mutex>
#include <vector>

#include "kernel/log/logger.h"

/// Thread-safe.
class LogRecorder {
 public:
  LogRecorder() {
    m_Id = nubo::log::Logger::getInstance()->addObserver([this](const nubo::log::Record& record) {
      const std::lock_guard<std::mutex> lock(m_Mutex);
      m_Records.push_back(record);
    });
  }
  ~LogRecorder() { nubo::log::Logger::getInstance()->removeObserver(m_Id); }

  std::vector<nubo::log::Record> records() const {
    const std::lock_guard<std::mutex> lock(m_Mutex);
    return m_Records;
  }
  QStringList messages(int level) const {
    QStringList messages;
    for (const auto& record : records()) {
      if (record.level == level) messages << record.message;
    }
    return messages;
  }

 private:
  mutable std::mutex m_Mutex;
  std::vector<nubo::log::Record> m_Records;
  int m_Id;
};
