#include "nubo/window/commanddock.h"

#include <QCloseEvent>
#include <QMainWindow>
#include <QStackedWidget>
#include <QTimer>

#include "nubo/window/commands/runningcommand.h"
#include "nubo/window/parameters/parameterdialog.h"
#include "nubo/window/results/resultview.h"

namespace nubo::window {

namespace {

constexpr int UsualWidth = 300;

}  // namespace

CommandDock::CommandDock(QWidget* parent)
    : QDockWidget(parent), mp_Pages(new QStackedWidget), mp_Result(new ResultView) {
  setObjectName(QStringLiteral("commandDock"));
  setWindowTitle(tr("Result"));
  mp_Pages->addWidget(mp_Result);
  setWidget(mp_Pages);
  connect(mp_Result, &ResultView::againRequested, this, &CommandDock::againRequested);
  hide();
}

void CommandDock::ask(ParameterDialog* dialog) {
  if (mp_Dialog) mp_Dialog->reject();
  mp_Dialog = dialog;
  dialog->setParent(mp_Pages, Qt::Widget);
  mp_Pages->addWidget(dialog);
  mp_Pages->setCurrentWidget(dialog);
  setWindowTitle(dialog->windowTitle());
  connect(dialog, &QDialog::finished, this, &CommandDock::dialogEnded);
  connect(dialog, &ParameterDialog::valuesChanged, this, &CommandDock::makeRoom, Qt::QueuedConnection);
  show();
  raise();
  dialog->show();
  dialog->focusFirst();
  // How much the dock's title takes is known only when the window has been laid out with it.
  QMetaObject::invokeMethod(this, &CommandDock::makeRoom, Qt::QueuedConnection);
}

/// So much that the form need not be scrolled, if the window has it.
void CommandDock::makeRoom() {
  auto* window = qobject_cast<QMainWindow*>(parentWidget());
  if (!window || isFloating() || !mp_Dialog) return;
  const int title = height() - mp_Pages->height();
  const int form = mp_Dialog->wholeHeight(mp_Pages->width());
  if (height() < form + title) window->resizeDocks({this}, {form + title}, Qt::Vertical);
  if (width() < UsualWidth) window->resizeDocks({this}, {UsualWidth}, Qt::Horizontal);
}

void CommandDock::dialogEnded() {
  if (sender() != mp_Dialog) return;
  mp_Dialog = nullptr;
  mp_Pages->setCurrentWidget(mp_Result);
  setWindowTitle(tr("Result"));
  // Not before a command that is started now had time to tell what it makes.
  QTimer::singleShot(0, this, [this] {
    if (!m_HasResult && !mp_Dialog) hide();
  });
}

void CommandDock::follow(RunningCommand* run) {
  if (run->files().isEmpty()) return;
  mp_Result->follow(run);
  m_HasResult = true;
  if (mp_Dialog && mp_Dialog->isVisible()) return;
  show();
  raise();
}

void CommandDock::closeEvent(QCloseEvent* event) {
  if (mp_Dialog) mp_Dialog->reject();
  QDockWidget::closeEvent(event);
}

}  // namespace nubo::window
