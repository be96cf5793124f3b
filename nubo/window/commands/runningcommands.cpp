#include "nubo/window/commands/runningcommands.h"

#include <QHBoxLayout>
#include <QKeySequence>
#include <QProgressBar>
#include <QTimer>
#include <QToolButton>

#include "nubo/window/look/elidedlabel.h"
#include "nubo/window/look/icons.h"

namespace nubo::window {

/// A title and what is being done. Long names and many rows must not make the window wider.
class RunningCommands::Text : public ElidedLabel {
 public:
  explicit Text(const QString& title) : m_Title(fontMetrics().elidedText(title, Qt::ElideMiddle, letters(36))) {
    setText(m_Title);
  }
  void tell(const QString& doing) { setText(QStringLiteral("%1: %2").arg(m_Title, doing)); }
  QSize sizeHint() const override { return QLabel::sizeHint().boundedTo({letters(60), QWIDGETSIZE_MAX}); }

 private:
  QString m_Title;
};

RunningCommands::RunningCommands(QWidget* parent) : QWidget(parent), mp_Layout(new QHBoxLayout(this)) {
  mp_Layout->setContentsMargins(0, 0, 0, 0);
  auto* clock = new QTimer(this);
  connect(clock, &QTimer::timeout, this, &RunningCommands::showTimes);
  clock->start(500);
  setMinimumHeight(QToolButton().sizeHint().height() + 2);  // the bar does not grow when a row comes
}

RunningCommands::Row RunningCommands::createRow(const QString& title, bool isCommand) {
  auto* widget = new QWidget;
  auto* layout = new QHBoxLayout(widget);
  layout->setContentsMargins(6, 0, 0, 0);
  auto* text = new Text(title);
  auto* bar = new QProgressBar;
  bar->setFixedWidth(90);
  bar->setMaximumHeight(text->sizeHint().height() + 2);
  bar->setAccessibleName(title);
  bar->setRange(0, 0);
  bar->setTextVisible(false);
  auto* time = new QLabel;
  time->setObjectName(QStringLiteral("time"));
  layout->addWidget(text);
  layout->addWidget(bar);
  layout->addWidget(time);
  mp_Layout->addWidget(widget);
  return {widget, text, bar, time, isCommand};
}

void RunningCommands::showPercent(const void* id, int percent) {
  const auto row = m_Rows.find(id);
  if (row == m_Rows.end()) return;
  row->clock.setPercent(percent);
  row->bar->setRange(0, percent < 0 ? 0 : 100);
  row->bar->setTextVisible(percent >= 0);
  row->bar->setValue(percent);
}

/// Not from the first second on: what is done at once needs no clock.
void RunningCommands::showTimes() {
  for (const Row& row : qAsConst(m_Rows)) {
    const int gone = row.clock.secondsGone(), left = row.clock.secondsLeft();
    if (gone < 1) continue;
    row.time->setText(left < 0 ? app::clockText(gone)
                               : tr("%1, %2 left").arg(app::clockText(gone), app::clockText(left)));
  }
}

void RunningCommands::add(RunningCommand* run) {
  const Row row = createRow(run->title(), true);
  row.widget->setObjectName(QStringLiteral("running"));
  row.text->setToolTip(run->files().join(QLatin1Char('\n')));
  row.widget->layout()->addWidget(createStopButton(run));
  connect(run, &RunningCommand::textChanged, row.text, &Text::tell);
  connect(run, &RunningCommand::detailChanged, row.text, &Text::tell);
  connect(run, &RunningCommand::percentChanged, this, [this, run](int percent) { showPercent(run, percent); });
  connect(run, &RunningCommand::finished, row.widget, [this, run] { delete m_Rows.take(run).widget; });
  m_Rows[run] = row;
}

QWidget* RunningCommands::createStopButton(RunningCommand* run) {
  auto* button = new QToolButton;
  button->setObjectName(run->isAbortable() ? QStringLiteral("abort") : QStringLiteral("unstoppable"));
  button->setEnabled(run->isAbortable());
  button->setText(tr("Stop"));
  button->setToolTip(
      run->isAbortable()
          ? tr("Ask “%1” to end now (%2)")
                .arg(run->title(), QKeySequence(Qt::CTRL + Qt::Key_Period).toString(QKeySequence::NativeText))
          : tr("“%1” cannot be stopped; it ends by itself").arg(run->title()));
  button->setIcon(makeIcon(Icon::Stop));
  button->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
  button->setFocusPolicy(Qt::TabFocus);
  connect(button, &QToolButton::clicked, run, [run, button] {
    button->setEnabled(false);
    run->abort();
  });
  return button;
}

void RunningCommands::stopLatest() {
  const auto buttons = findChildren<QToolButton*>(QStringLiteral("abort"));
  for (auto button = buttons.crbegin(); button != buttons.crend(); ++button)
    if ((*button)->isEnabled()) return (*button)->click();
}

void RunningCommands::begin(const void* id, const QString& label, const std::function<void()>& stop) {
  m_Rows[id] = createRow(label, false);
  if (!stop) return;
  auto* button = new QToolButton;
  button->setObjectName(QStringLiteral("cancel"));
  button->setText(tr("Cancel"));
  button->setIcon(makeIcon(Icon::Stop));
  button->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
  button->setFocusPolicy(Qt::TabFocus);
  connect(button, &QToolButton::clicked, button, [button, stop] {
    button->setEnabled(false);
    stop();
  });
  m_Rows[id].widget->layout()->addWidget(button);
}

void RunningCommands::beginPart(const void* id, const QString& label) {
  // A command without a percentage of its own is most likely the one whose work this is.
  for (auto row = m_Rows.cbegin(); row != m_Rows.cend(); ++row) {
    if (!row->isCommand || row->bar->maximum() != 0 || m_Parts.values().contains(row.key())) continue;
    m_Parts[id] = row.key();
    return;
  }
  begin(id, label);
}

void RunningCommands::update(const void* id, int percent) { showPercent(m_Parts.value(id, id), percent); }

void RunningCommands::end(const void* id) {
  if (!m_Parts.contains(id)) {
    delete m_Rows.take(id).widget;
    return;
  }
  showPercent(m_Parts.take(id), -1);
}

void RunningPresenter::begin(const void* id, const QString& label, bool) {
  if (mp_Commands) mp_Commands->beginPart(id, label);
}

void RunningPresenter::update(const void* id, int percent) {
  if (mp_Commands) mp_Commands->update(id, percent);
}

void RunningPresenter::end(const void* id) {
  if (mp_Commands) mp_Commands->end(id);
}

}  // namespace nubo::window
