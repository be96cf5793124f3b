#include "nubo/cli/commandrun.h"

#include <QFileInfo>
#include <QLocale>
#include <QTimer>
#include <cstdlib>

#include "nubo/cli/commandarguments.h"
#include "nubo/cli/interrupt.h"
#include "nubo/cli/report.h"
#include "nubo/cli/terminalprogress.h"

namespace nubo::app {

CommandRun::CommandRun(main::Command& command, const QString& call, const QString& handicap, Report& report,
                       TerminalProgress& progress)
    : m_Command(command), m_Call(call), m_Handicap(handicap), m_Report(report), m_Progress(progress) {}

int CommandRun::run(main::CommandProcessor& processor, const CommandLine& line) {
  observe();
  const Interrupt interrupts;
  QObject::connect(&interrupts, &Interrupt::interrupted, &interrupts,
                   [&](int signal) { interrupt(signal, line.reportFile); });
  QTimer end;
  end.setSingleShot(true);
  QObject::connect(&end, &QTimer::timeout, &end, [this] { m_Command.abort(); });
  if (line.duration) end.start(int(*line.duration * 1000));

  m_Report.takeFailures();
  const bool ran = processor.processCommand(&m_Command, main::CommandProcessor::Wait, true);
  m_Progress.clear();
  const int status = ran ? judge() : Failed;
  record();
  return status;
}

/// The command reports from threads of its own; the progress line takes that.
void CommandRun::observe() {
  using main::CommandMonitor;
  const CommandMonitor* monitor = m_Command.monitor();
  const auto observe = [this, monitor](auto signal, auto receive) {
    QObject::connect(monitor, signal, &m_Observer, receive, Qt::DirectConnection);
  };
  observe(&CommandMonitor::textChanged, [this](const QString& text) { m_Progress.setText(text); });
  observe(&CommandMonitor::detailChanged, [this](const QString& detail) { m_Progress.setDetail(detail); });
  observe(&CommandMonitor::processedChanged, [this](int percent) { m_Progress.setPercent(percent); });
  observe(&CommandMonitor::reasonGiven, [this](const QString& reason) { m_Reason = reason; });
  observe(&CommandMonitor::endedEarly, [this](const QString& extent) { m_EndedEarly = extent; });
  // A script has nobody who would see that, and end it.
  observe(&CommandMonitor::stuck, [this] { m_Command.abort(); });
  observe(&CommandMonitor::factGiven,
          [this](const QString& name, const QVariant& value) { m_Facts[name] = QJsonValue::fromVariant(value); });
}

void CommandRun::interrupt(int signal, const QString& recordFile) {
  if (m_Signal != 0 || !m_Command.canBeStopped()) {
    m_Report.error(m_Call + ": interrupted");
    // The command cannot be waited for, and it may be using everything that an orderly end takes down.
    std::_Exit(m_Report.finish(recordFile, EndedBySignal + signal));
  }
  m_Signal = signal;
  m_Report.note(m_Command.getName() + " is ending; Ctrl-C again to give up");
  m_Command.abort();
}

int CommandRun::judge() {
  const QString milestone = m_Report.lastMilestone();
  const QStringList failures = this->failures(milestone);
  if (!failures.isEmpty()) {
    m_Report.error(m_Call + ": " + failures.join("; "));
    return Failed;
  }
  if (!m_EndedEarly.isEmpty() && m_Command.isCancellable()) {
    m_Report.error(QStringLiteral("%1: stopped: %2").arg(m_Call, m_EndedEarly));
    return m_Signal == 0 ? int(Failed) : EndedBySignal + m_Signal;
  }
  if (!reportFiles(targetFiles(m_Command))) return Failed;
  // What a command that makes no file has found out.
  if (targetFiles(m_Command).isEmpty() && !milestone.isEmpty() && !m_Report.result(milestone)) return Failed;
  if (dynamic_cast<const main::SettingsCommand*>(&m_Command))
    for (const QString& other : otherValues(m_Command, "was stored")) m_Report.note(other);
  if (m_EndedEarly.isEmpty()) return Done;
  m_Report.note(QStringLiteral("%1: ended early: %2").arg(m_Call, m_EndedEarly));
  return m_Signal == 0 ? int(Done) : EndedBySignal + m_Signal;
}

QStringList CommandRun::failures(const QString& milestone) {
  QStringList failures = m_Report.takeFailures();
  const bool isCancelled = !m_EndedEarly.isEmpty() && m_Command.isCancellable();
  for (const QString& file : targetFiles(m_Command))
    if (failures.isEmpty() && !isCancelled && !QFileInfo::exists(file))
      failures << (milestone.isEmpty() ? QStringLiteral("%1 was not written").arg(file) : milestone);
  if (!failures.isEmpty() && !m_Reason.isEmpty()) failures.last() += ' ' + m_Reason;
  if (!failures.isEmpty() && !m_Handicap.isEmpty()) failures << m_Handicap;
  return failures;
}

/// False where standard output takes nothing.
bool CommandRun::reportFiles(const QStringList& files) {
  for (const QString& file : files)
    if (!m_Report.result(QStringLiteral("%1 (%2)").arg(file, QLocale::c().formattedDataSize(QFileInfo(file).size()))))
      return false;
  return true;
}

void CommandRun::record() {
  RunRecord& record = m_Report.record();
  record.endPhase(QStringLiteral("command"));
  record.set(QStringLiteral("result"), m_Facts);
  for (const QString& file : targetFiles(m_Command))
    if (QFileInfo::exists(file)) record.addFile(file);
}

}  // namespace nubo::app
