#include "nubo/window/commanddock.h"

#include <QCloseEvent>
#include <QMainWindow>
#include <QStackedWidget>
#include <QTimer>
#include <algorithm>

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
  if (height() < form + title) takeHeight(*window, form + title);
  if (width() < UsualWidth) window->resizeDocks({this}, {UsualWidth}, Qt::Horizontal);
}

/// The docks beside it give up as much, or Qt would take it from all of them, this one too.
void CommandDock::takeHeight(QMainWindow& window, int wanted) {
  QList<QDockWidget*> docks{this};
  QList<int> heights{wanted};
  int missing = wanted - height();
  for (auto* other : window.findChildren<QDockWidget*>()) {
    const bool isBeside = other != this && other->isVisible() && !other->isFloating() &&
                          window.dockWidgetArea(other) == window.dockWidgetArea(this);
    if (!isBeside) continue;
    const int given = std::clamp(other->height() - other->minimumSizeHint().height(), 0, missing);
    docks << other;
    heights << other->height() - given;
    missing -= given;
  }
  window.resizeDocks(docks, heights, Qt::Vertical);
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
