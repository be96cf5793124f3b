#include "nubo/report.h"

#include <cstdio>

#include "kernel/log/logger.h"
#include "nubo/terminalprogress.h"

namespace nubo::app {

Report::Report(Verbosity verbosity, TerminalProgress& progress) : m_Progress(progress) {
  setVerbosity(verbosity);
  m_LogObserver = log::Logger::getInstance()->addObserver(
      [this](const log::Record& record) { keep(record.level, record.message); });
  m_ConsoleObserver = log::addConsoleObserver([this](const QString& line) { keep(log::Note, line); });
}

Report::~Report() {
  log::removeConsoleObserver(m_ConsoleObserver);
  log::Logger::getInstance()->removeObserver(m_LogObserver);
}

void Report::setVerbosity(Verbosity verbosity) {
  m_Verbosity = verbosity;
  m_Progress.setShown(verbosity == Verbosity::Normal);
  log::Logger::getInstance()->setTerminalLevel(verbosity == Verbosity::Verbose ? log::Debug : 0);
}

void Report::keep(int level, const QString& message) {
  const std::lock_guard<std::mutex> lock(m_Mutex);
  const QString line = message.simplified();
  // Commands report unfit parameters as a mere note.
  if (level <= log::Failure || line == QLatin1String("Parameter failure")) {
    if (!m_Failures.contains(line)) m_Failures << line;
  } else if (level <= log::Milestone) {
    m_Milestone = line;
  }
}

QStringList Report::takeFailures() {
  const std::lock_guard<std::mutex> lock(m_Mutex);
  m_Milestone.clear();
  return std::exchange(m_Failures, {});
}

QString Report::lastMilestone() const {
  const std::lock_guard<std::mutex> lock(m_Mutex);
  return m_Milestone;
}

void Report::printLine(FILE* stream, const QString& text) {
  m_Progress.clear();
  std::fputs((text + '\n').toLocal8Bit().constData(), stream);
  std::fflush(stream);
}

void Report::error(const QString& text) { printLine(stderr, "nubo: " + text); }

void Report::note(const QString& text) {
  if (m_Verbosity != Verbosity::Quiet) printLine(stderr, "nubo: " + text);
}

void Report::result(const QString& text) {
  if (m_Verbosity != Verbosity::Quiet) printLine(stdout, text);
}

void logQtMessages() {
  static QtMessageHandler before = nullptr;
  before = qInstallMessageHandler([](QtMsgType type, const QMessageLogContext& context, const QString& message) {
    if (type == QtFatalMsg) return before(type, context, message);
    const int level = type == QtCriticalMsg ? log::Failure : type == QtWarningMsg ? log::Note : log::Debug;
    log::Logger::getInstance()->log(level, context.file ? context.file : "Qt", context.line,
                                    context.function ? context.function : "Qt", nullptr, message);
  });
}

}  // namespace nubo::app
