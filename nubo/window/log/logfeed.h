// Brings log records to the application thread.
#pragma once

#include <QObject>
#include <QVector>
#include <mutex>

#include "kernel/log/logger.h"

namespace nubo::window {

/// Collects what any thread logs, or prints on the console, and hands it on in portions. Application thread.
class LogFeed : public QObject {
  Q_OBJECT
 public:
  explicit LogFeed(QObject* parent = nullptr);
  ~LogFeed() override;

 signals:
  /// In the order in which they were logged; console lines are notes.
  void arrived(const QVector<nubo::log::Record>& records);

 private:
  void add(const log::Record& record);
  void deliver();

  std::mutex m_Mutex;
  QVector<log::Record> m_Waiting;
  int m_Log;
  int m_Console;
};

}  // namespace nubo::window
