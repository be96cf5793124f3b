#include "nubo/cli/report.h"

#include <QGuiApplication>
#include <cstdio>
#include <cstdlib>

#include "kernel/log/logger.h"
#include "nubo/cli/commandrun.h"
#include "nubo/cli/platform.h"
#include "nubo/cli/terminalprogress.h"

namespace nubo::app {

Report::Report(const QStringList& words, Verbosity verbosity, TerminalProgress& progress)
    : m_Progress(progress), m_Record(words) {
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

void Report::keepFailures(const QStringList& failures) {
  const std::lock_guard<std::mutex> lock(m_Mutex);
  m_Failures = failures + m_Failures;
}

QString Report::lastMilestone() const {
  const std::lock_guard<std::mutex> lock(m_Mutex);
  return m_Milestone;
}

void Report::error(const QString& text) { say(QStringLiteral("error"), text); }

void Report::note(const QString& text) {
  if (m_Verbosity != Verbosity::Quiet) say(QStringLiteral("note"), text);
}

void Report::say(const QString& kind, const QString& text) {
  m_Progress.clear();
  m_Record.addMessage(kind, text);
  std::fprintf(stderr, "nubo: %s\n", qPrintable(oneLine(text)));
}

int Report::finish(const QString& recordFile, int exitStatus) {
  if (recordFile.isEmpty()) return exitStatus;
  if (recordFile == StandardOutputName)
    return print(m_Record.json(exitStatus)) || exitStatus != Done ? exitStatus : int(Failed);
  const QString failure = m_Record.write(recordFile, exitStatus);
  if (failure.isEmpty()) return exitStatus;
  error(failure);
  return exitStatus == Done ? int(Failed) : exitStatus;
}

bool Report::print(const QString& text) {
  m_Progress.clear();
  if (std::fputs(qPrintable(text), stdout) >= 0 && std::fflush(stdout) == 0) return true;
  error(QStringLiteral("standard output: ") + qt_error_string());
  return false;
}

bool Report::result(const QString& text) {
  return m_IsOutputFree || m_Verbosity == Verbosity::Quiet || print(oneLine(text) + '\n');
}

QString oneLine(const QString& text) {
  QString line;
  for (const QChar letter : text)
    line += letter.category() == QChar::Other_Control ? QStringLiteral("\\x%1").arg(letter.unicode(), 2, 16, QChar('0'))
                                                      : QString(letter);
  return line;
}

namespace {

/// Ends the program, which Qt would abort, with its reasons.
[[noreturn]] void endWithoutPlatform(QStringList reasons) {
  QStringList folders = QCoreApplication::libraryPaths();
  if (const QString own = pluginFolder(); !folders.contains(own)) folders << own;
  if (reasons.join(' ').contains("Could not find")) reasons << "plug-ins are looked for in " + folders.join(", ");
  std::fprintf(stderr, "nubo: %s\n", qPrintable(reasons.join("; ")));
  std::_Exit(Failed);
}

}  // namespace

void logQtMessages() {
  static QtMessageHandler before = nullptr;
  before = qInstallMessageHandler([](QtMsgType type, const QMessageLogContext& context, const QString& message) {
    if (QGuiApplication::platformName().isEmpty()) {
      static QStringList reasons;
      if (type == QtWarningMsg) reasons << message.simplified();
      if (type == QtFatalMsg) endWithoutPlatform(reasons.isEmpty() ? QStringList(message.simplified()) : reasons);
    }
    if (type == QtFatalMsg) return before(type, context, message);
    const int level = type == QtCriticalMsg ? log::Failure : type == QtWarningMsg ? log::Note : log::Debug;
    log::Logger::getInstance()->log(level, context.file ? context.file : "Qt", context.line,
                                    context.function ? context.function : "Qt", nullptr, message);
  });
}

}  // namespace nubo::app
