#include "nubo/window/commandstarter.h"

#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QTimer>

#include "nubo/cli/filecheck.h"
#include "nubo/window/commanddock.h"
#include "nubo/window/commands/commandrunner.h"
#include "nubo/window/menus/savedviews.h"
#include "nubo/window/messagebar.h"
#include "nubo/window/panels/panelarea.h"
#include "nubo/window/parameters/parameterdialog.h"
#include "nubo/window/viewseries.h"

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

CommandStarter::CommandStarter(CommandRunner& runner, PanelArea& panels, MessageBar& messages, CommandDock& dock,
                               QWidget* window)
    : QObject(window), m_Runner(runner), m_Panels(panels), m_Messages(messages), m_Dock(dock), mp_Window(window) {
  connect(&dock, &CommandDock::againRequested, this, &CommandStarter::repeat);
  connect(&runner, &CommandRunner::started, this, &CommandStarter::holdView);
  connect(&runner, &CommandRunner::started, this, &CommandStarter::watch);
  connect(&runner, &CommandRunner::ended, this, &CommandStarter::holdView);
  connect(&runner, &CommandRunner::ended, this,
          [this](const RunningCommand* run) { m_Messages.addReason(run->reason()); });
}

void CommandStarter::watch(const RunningCommand* run) {
  m_Messages.dismissNotice();
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
  if (command->getParameterSets().empty()) return start({command, title, std::nullopt});
  ask(command, title);
}

void CommandStarter::repeat(const CommandCall& call) {
  CommandCall next = call;
  if (call.values) next.values = withFiles(*call.registered, *call.values, &app::freeName);
  start(next);
}

void CommandStarter::ask(main::Command* command, const QString& title) {
  auto* dialog = new ParameterDialog(*command, title, mp_Window);
  dialog->setAttribute(Qt::WA_DeleteOnClose);
  dialog->setBusyFiles(m_Runner.files());
  if (mp_Views) dialog->offerViews(mp_Views->names().size());
  connect(dialog, &QDialog::accepted, this, [this, command, title, dialog] {
    const CommandCall call{command, title, dialog->values()};
    if (dialog->isForAllViews())
      new ViewSeries({m_Runner, m_Panels, *mp_Views, m_Messages}, call, this);
    else
      start(call);
  });
  if (dialog->framesView())
    askBeside(dialog);
  else
    dialog->open();
}

/// The view can be moved meanwhile, and the dialog tells what the command would take of it.
void CommandStarter::askBeside(ParameterDialog* dialog) {
  const auto showFrame = [this, dialog] { m_Panels.setFrame(dialog->frame()); };
  connect(dialog, &ParameterDialog::valuesChanged, this, showFrame);
  connect(dialog, &ParameterDialog::shapeChosen, &m_Panels, &PanelArea::setShape);
  // Not for each step of a movement that is played.
  constexpr int SettleMs = 120;
  auto* settle = new QTimer(dialog);
  settle->setSingleShot(true);
  settle->setInterval(SettleMs);
  connect(&m_Panels, &PanelArea::viewChanged, settle, [settle] {
    if (!settle->isActive()) settle->start();
  });
  connect(settle, &QTimer::timeout, dialog, &ParameterDialog::refresh);
  // Left to itself, the focus might go to another panel, which then were the active one.
  connect(dialog, &ParameterDialog::ending, this, [this] { m_Panels.activePanel()->setFocus(); });
  // Not before the command has the view as it was shown.
  connect(dialog, &QDialog::accepted, this, [this] { m_Panels.setFrame({}); });
  connect(dialog, &QDialog::rejected, this, [this] { m_Panels.setFrame({}); });
  m_Dock.ask(dialog);
  showFrame();
}

void CommandStarter::start(const CommandCall& call) {
  if (!m_Runner.start(call))
    m_Messages.showFailure(tr("“%1” cannot be run now, or does not take these values.").arg(call.title));
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
