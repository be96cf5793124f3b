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

int CommandRun::run(main::CommandProcessor& processor, std::optional<double> duration) {
  observe();
  const Interrupt interrupts;
  QObject::connect(&interrupts, &Interrupt::interrupted, &interrupts, [this](int signal) { interrupt(signal); });
  QTimer end;
  end.setSingleShot(true);
  QObject::connect(&end, &QTimer::timeout, &end, [this] { m_Command.abort(); });
  if (duration) end.start(int(*duration * 1000));

  m_Report.takeFailures();
  const bool ran = processor.processCommand(&m_Command, main::CommandProcessor::Wait, true);
  m_Progress.clear();
  return ran ? judge() : Failed;
}

/// The command reports from threads of its own; the progress line takes that.
void CommandRun::observe() {
  using main::CommandMonitor;
  const CommandMonitor* monitor = m_Command.monitor();
  const auto observe = [monitor](auto signal, auto receive) {
    QObject::connect(monitor, signal, monitor, receive, Qt::DirectConnection);
  };
  observe(&CommandMonitor::textChanged, [this](const QString& text) { m_Progress.setText(text); });
  observe(&CommandMonitor::detailChanged, [this](const QString& detail) { m_Progress.setDetail(detail); });
  observe(&CommandMonitor::processedChanged, [this](int percent) { m_Progress.setPercent(percent); });
  observe(&CommandMonitor::reasonGiven, [this](const QString& reason) { m_Reason = reason; });
  observe(&CommandMonitor::endedEarly, [this](const QString& extent) { m_EndedEarly = extent; });
}

void CommandRun::interrupt(int signal) {
  if (m_Signal != 0 || !m_Command.isAbortable()) {
    m_Report.error(m_Call + ": interrupted");
    // The command cannot be waited for, and it may be using everything that an orderly end takes down.
    std::_Exit(EndedBySignal + signal);
  }
  m_Signal = signal;
  m_Report.note(m_Command.getName() + " is ending; Ctrl-C again to give up");
  m_Command.abort();
}

int CommandRun::judge() {
  const QStringList failures = this->failures();
  if (!failures.isEmpty()) {
    m_Report.error(m_Call + ": " + failures.join("; "));
    return Failed;
  }
  if (!reportFiles(targetFiles(m_Command))) return Failed;
  if (dynamic_cast<const main::SettingsCommand*>(&m_Command)) reportOtherValues();
  if (m_EndedEarly.isEmpty()) return Done;
  m_Report.note(QStringLiteral("%1: ended early: %2").arg(m_Call, m_EndedEarly));
  return m_Signal == 0 ? int(Done) : EndedBySignal + m_Signal;
}

QStringList CommandRun::failures() {
  const QString milestone = m_Report.lastMilestone();
  QStringList failures = m_Report.takeFailures();
  for (const QString& file : targetFiles(m_Command))
    if (failures.isEmpty() && !QFileInfo::exists(file))
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

/// Settings that the command has bounded: what it has stored is what its parameters start from now.
void CommandRun::reportOtherValues() {
  for (const main::ParameterSet& set : m_Command.getParameterSets())
    for (const main::AbstractParameter* parameter : set.parameters())
      if (const QString stored = defaultText(*parameter); parameter->hasValue() && parameter->toString() != stored)
        m_Report.note(QStringLiteral("%1: --%2 %3 was stored in place of %4")
                          .arg(m_Command.getName(), optionName(parameter->getName()), stored, parameter->toString()));
}

}  // namespace nubo::app
