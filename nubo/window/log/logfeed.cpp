#include "nubo/window/log/logfeed.h"

#include <QThread>

namespace nubo::window {

LogFeed::LogFeed(QObject* parent) : QObject(parent) {
  m_Log = log::Logger::getInstance()->addObserver([this](const log::Record& record) { add(record); });
  m_Console = log::addConsoleObserver([this](const QString& line) {
    add({log::Note, QString(), 0, QString(), line.trimmed(), QDateTime::currentDateTime(), QThread::currentThreadId()});
  });
}

LogFeed::~LogFeed() {
  log::removeConsoleObserver(m_Console);
  log::Logger::getInstance()->removeObserver(m_Log);
}

void LogFeed::add(const log::Record& record) {
  const std::lock_guard<std::mutex> lock(m_Mutex);
  m_Waiting.append(record);
  if (m_Waiting.size() == 1) QMetaObject::invokeMethod(this, &LogFeed::deliver, Qt::QueuedConnection);
}

void LogFeed::deliver() {
  QVector<log::Record> records;
  {
    const std::lock_guard<std::mutex> lock(m_Mutex);
    records.swap(m_Waiting);
  }
  emit arrived(records);
}

}  // namespace nubo::window
