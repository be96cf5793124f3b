#include "kernel/log/logger.h"

#include <QByteArray>
#include <QFile>
#include <QThread>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <memory>
#include <mutex>

#include "kernel/log/observerlist.h"

namespace nubo::log {

namespace {

QString formatted(const char* format, va_list arguments) {
  va_list again;
  va_copy(again, arguments);
  const int length = std::vsnprintf(nullptr, 0, format, again);
  va_end(again);
  if (length < 0) return QString::fromLocal8Bit(format);
  QByteArray text(length, '\0');
  std::vsnprintf(text.data(), static_cast<size_t>(length) + 1, format, arguments);
  return QString::fromLocal8Bit(text);
}

/// As compilers name sources, whose root is known by what this one is called.
QString sourceName(const char* file) {
  static const QString root = QString::fromLocal8Bit(__FILE__).remove("kernel/log/logger.cpp");
  QString name = QString::fromLocal8Bit(file);
  if (name.startsWith(root)) name.remove(0, root.size());
  for (const char* suffix : {".cpp", ".h"})
    if (name.endsWith(suffix)) name.chop(int(std::strlen(suffix)));
  return name;
}

QString asLine(const Record& record) {
  return QStringLiteral("%1 %2 %3:%4 ")
             .arg(record.time.toString(Qt::ISODateWithMs))
             .arg(record.level)
             .arg(record.file)
             .arg(record.line) +
         record.function + QStringLiteral(": ") + record.message + QLatin1Char('\n');
}

ObserverList<QString>& consoleObservers() {
  static auto* observers = new ObserverList<QString>;
  return *observers;
}

}  // namespace

struct Logger::Private {
  void write(const Record& record);

  std::mutex mutex;
  int terminalLevel = Milestone;
  std::unique_ptr<QFile> file;
  ObserverList<Record> observers;
};

void Logger::Private::write(const Record& record) {
  const std::lock_guard<std::mutex> lock(mutex);
  const bool toTerminal = record.level <= terminalLevel;
  if (!toTerminal && !file) return;
  const QString line = asLine(record);
  if (toTerminal) std::fputs(line.toLocal8Bit().constData(), stderr);
  if (file) {
    file->write(line.toUtf8());
    file->flush();
  }
}

Logger::Logger() : d(new Private) {}

Logger* Logger::getInstance() {
  static auto* logger = new Logger;
  return logger;
}

void Logger::log(int level, const char* file, int line, const char* function, const void* context, const char* format,
                 ...) {
  va_list arguments;
  va_start(arguments, format);
  const QString message = formatted(format, arguments);
  va_end(arguments);
  log(level, file, line, function, context, message);
}

void Logger::log(int level, const char* file, int line, const char* function, const void*, const QString& message) {
  const Record record{level,
                      sourceName(file),
                      line,
                      QString::fromLocal8Bit(function),
                      message,
                      QDateTime::currentDateTime(),
                      QThread::currentThreadId()};
  d->write(record);
  d->observers.call(record);
}

void Logger::setTerminalLevel(int level) {
  const std::lock_guard<std::mutex> lock(d->mutex);
  d->terminalLevel = level;
}

bool Logger::setFile(const QString& fileName) {
  std::unique_ptr<QFile> file;
  if (!fileName.isEmpty()) {
    file = std::make_unique<QFile>(fileName);
    if (!file->open(QIODevice::WriteOnly | QIODevice::Append)) return false;
  }
  const std::lock_guard<std::mutex> lock(d->mutex);
  d->file.swap(file);
  return true;
}

int Logger::addObserver(Observer observer) { return d->observers.add(std::move(observer)); }

void Logger::removeObserver(int id) { d->observers.remove(id); }

void qConsole(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const QString line = formatted(format, arguments);
  va_end(arguments);
  std::fputs((line + QLatin1Char('\n')).toLocal8Bit().constData(), stderr);
  consoleObservers().call(line);
}

int addConsoleObserver(std::function<void(const QString&)> observer) {
  return consoleObservers().add(std::move(observer));
}

void removeConsoleObserver(int id) { consoleObservers().remove(id); }

}  // namespace nubo::log
