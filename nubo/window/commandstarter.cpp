#include "nubo/window/commandstarter.h"

#include <QMessageBox>
#include <QPointer>
#include <QPushButton>

#include "nubo/window/commands/commandrunner.h"
#include "nubo/window/messagebar.h"
#include "nubo/window/panels/panelarea.h"
#include "nubo/window/parameters/parameterdialog.h"

namespace nubo::window {

namespace {

QString titlesOf(const QList<RunningCommand*>& runs) {
  QStringList titles;
  for (const RunningCommand* run : runs) titles << CommandStarter::tr("“%1”").arg(run->title());
  return titles.join(QStringLiteral(", "));
}

/// Whether the user presses the button with this text, and not the one that leaves all as it is.
bool confirms(QMessageBox& box, const QString& consequences, const QString& button) {
  box.setInformativeText(consequences);
  const QPushButton* yes = box.addButton(button, QMessageBox::DestructiveRole);
  box.setDefaultButton(QMessageBox::Cancel);
  box.exec();
  return box.clickedButton() == yes;
}

}  // namespace

CommandStarter::CommandStarter(CommandRunner& runner, PanelArea& panels, MessageBar& messages, QWidget* window)
    : QObject(window), m_Runner(runner), m_Panels(panels), m_Messages(messages), mp_Window(window) {
  connect(&runner, &CommandRunner::started, this, &CommandStarter::holdView);
  connect(&runner, &CommandRunner::started, this, &CommandStarter::watch);
  connect(&runner, &CommandRunner::ended, this, &CommandStarter::holdView);
  connect(&runner, &CommandRunner::ended, this,
          [this](const RunningCommand* run) { m_Messages.addReason(run->reason()); });
}

void CommandStarter::watch(const RunningCommand* run) {
  connect(run, &RunningCommand::endedEarly, &m_Messages, [this, title = run->title()](const QString& extent) {
    m_Messages.showNotice(tr("%1 ended early: %2").arg(title, extent));
  });
}

void CommandStarter::holdView(const RunningCommand* run) {
  if (auto* panel = qobject_cast<ViewPanel*>(run->panel())) panel->setHeld(!m_Runner.runningFor(panel).isEmpty());
}

void CommandStarter::run(main::Command* command, const QString& title) {
  if (QWidget* own = command->getGUIWindow()) return own->show();
  if (QWidget* own = command->getCommandWidget()) return own->show();
  if (command->getParameterSets().empty()) return start(command, title, nullptr);
  ask(command, title);
}

void CommandStarter::ask(main::Command* command, const QString& title) {
  auto* dialog = new ParameterDialog(*command, title, mp_Window);
  dialog->setAttribute(Qt::WA_DeleteOnClose);
  dialog->setBusyFiles(m_Runner.files());
  connect(dialog, &QDialog::accepted, this, [this, command, title, dialog] {
    const main::ParameterSet values = dialog->values();
    start(command, title, &values);
  });
  dialog->open();
}

void CommandStarter::start(main::Command* command, const QString& title, const main::ParameterSet* values) {
  if (!m_Runner.start(*command, title, values))
    m_Messages.showFailure(tr("“%1” cannot be run now, or does not take these values.").arg(title));
}

void CommandStarter::closePanels(const QList<ViewPanel*>& panels) {
  QList<RunningCommand*> runs;
  for (const ViewPanel* panel : panels) runs << m_Runner.runningFor(panel);
  QList<QPointer<ViewPanel>> doomed;  // a panel may go while the user thinks
  for (ViewPanel* panel : panels) doomed << panel;
  if (!runs.isEmpty() && !confirmsClosing(runs)) return;
  for (const QPointer<ViewPanel>& panel : doomed)
    if (panel) m_Panels.closePanel(panel);
}

bool CommandStarter::confirmsClosing(const QList<RunningCommand*>& runs) {
  QMessageBox box(QMessageBox::Question, tr("Close Panel"), tr("Still running for this panel: %1.").arg(titlesOf(runs)),
                  QMessageBox::Cancel, mp_Window);
  return confirms(box,
                  tr("If you close the panel, the command may end at once, and what it has made so far may be "
                     "lost. To keep it, cancel here and stop the command first."),
                  tr("C&lose All the Same"));
}

bool CommandStarter::confirmsQuitting(const QList<RunningCommand*>& runs) {
  QMessageBox box(QMessageBox::Question, tr("Quit"), tr("Still running: %1.").arg(titlesOf(runs)), QMessageBox::Cancel,
                  mp_Window);
  return confirms(
      box,
      tr("If you quit, recordings are stopped and kept, pictures are given up, and the window closes when all has "
         "ended."),
      tr("Stop and &Quit"));
}

bool CommandStarter::endsAll() {
  const QList<RunningCommand*> runs = m_Runner.running();
  if (!runs.isEmpty() && !confirmsQuitting(runs)) return false;
  m_Runner.abortAll();
  return true;
}

}  // namespace nubo::window
