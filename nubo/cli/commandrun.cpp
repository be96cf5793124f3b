#include "nubo/cli/commandrun.h"

#include <QFileInfo>
#include <QLocale>
#include <QSettings>
#include <QTimer>
#include <cstdlib>

#include "kernel/main/overseer.h"
#include "nubo/cli/commandarguments.h"
#include "nubo/cli/interrupt.h"
#include "nubo/cli/report.h"
#include "nubo/cli/terminalprogress.h"

namespace nubo::app {

namespace {

/// The empty text, or why the settings that were just stored are lost with this program.
QString writeSettings() {
  QSettings* settings = main::nuboSettings();
  settings->sync();
  if (settings->status() == QSettings::NoError) return QString();
  return QStringLiteral("the settings cannot be written to %1").arg(settings->fileName());
}

}  // namespace

CommandRun::CommandRun(main::Command& command, const QString& call, Report& report, TerminalProgress& progress)
    : m_Command(command), m_Call(call), m_Report(report), m_Progress(progress) {}

ExitStatus CommandRun::run(main::CommandProcessor& processor, std::optional<double> duration) {
  // The command reports from threads of its own; the progress line takes that.
  const main::CommandMonitor* monitor = m_Command.monitor();
  QObject::connect(
      monitor, &main::CommandMonitor::textChanged, monitor, [this](const QString& text) { m_Progress.setText(text); },
      Qt::DirectConnection);
  QObject::connect(
      monitor, &main::CommandMonitor::detailChanged, monitor,
      [this](const QString& detail) { m_Progress.setDetail(detail); }, Qt::DirectConnection);
  QObject::connect(
      monitor, &main::CommandMonitor::processedChanged, monitor,
      [this](int percent) { m_Progress.setPercent(percent); }, Qt::DirectConnection);
  QObject::connect(
      monitor, &main::CommandMonitor::reasonGiven, monitor, [this](const QString& reason) { m_Reason = reason; },
      Qt::DirectConnection);

  const Interrupt interrupts;
  QObject::connect(&interrupts, &Interrupt::interrupted, &interrupts, [this] { interrupt(); });
  QTimer end;
  end.setSingleShot(true);
  QObject::connect(&end, &QTimer::timeout, &end, [this] { m_Command.abort(); });
  if (duration) end.start(int(*duration * 1000));

  m_Report.takeFailures();
  const bool ran = processor.processCommand(&m_Command, main::CommandProcessor::Wait, true);
  m_Progress.clear();
  return ran ? judge() : Failed;
}

void CommandRun::interrupt() {
  if (m_Interrupted || !m_Command.isAbortable()) {
    m_Report.error(m_Call + ": interrupted");
    // The command cannot be waited for, and it may be using everything that an orderly end takes down.
    std::_Exit(Interrupted);
  }
  m_Interrupted = true;
  m_Report.note(m_Command.getName() + " is ending; Ctrl-C again to give up");
  m_Command.abort();
}

ExitStatus CommandRun::judge() {
  const QString milestone = m_Report.lastMilestone();
  QStringList failures = m_Report.takeFailures();
  if (failures.isEmpty() && dynamic_cast<main::SettingsCommand*>(&m_Command))
    if (const QString failure = writeSettings(); !failure.isEmpty()) failures << failure;
  const QStringList files = targetFiles(m_Command);
  for (const QString& file : files)
    if (failures.isEmpty() && !QFileInfo::exists(file))
      failures << (milestone.isEmpty() ? QStringLiteral("%1 was not written").arg(file) : milestone);
  if (!failures.isEmpty()) {
    if (!m_Reason.isEmpty()) failures.last() += ' ' + m_Reason;
    m_Report.error(m_Call + ": " + failures.join("; "));
    return Failed;
  }
  for (const QString& file : files)
    if (!m_Report.result(QStringLiteral("%1 (%2)").arg(file, QLocale::c().formattedDataSize(QFileInfo(file).size()))))
      return Failed;
  return Done;
}

}  // namespace nubo::app
