#include "nubo/window/runningcommands.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>
#include <QToolButton>

#include "nubo/window/icons.h"

namespace nubo::window {

namespace {

void showPercent(QProgressBar* bar, int percent) {
  bar->setRange(0, percent < 0 ? 0 : 100);
  bar->setTextVisible(percent >= 0);
  bar->setValue(percent);
}

}  // namespace

RunningCommands::RunningCommands(QWidget* parent) : QWidget(parent), mp_Layout(new QHBoxLayout(this)) {
  mp_Layout->setContentsMargins(0, 0, 0, 0);
  setMinimumHeight(QToolButton().sizeHint().height() + 2);  // the bar does not grow when a row comes
}

RunningCommands::Row RunningCommands::createRow(const QString& title, bool isCommand) {
  auto* widget = new QWidget;
  auto* layout = new QHBoxLayout(widget);
  layout->setContentsMargins(6, 0, 0, 0);
  auto* text = new QLabel(title);
  auto* bar = new QProgressBar;
  bar->setFixedWidth(110);
  bar->setMaximumHeight(text->sizeHint().height() + 2);
  bar->setAccessibleName(title);
  showPercent(bar, -1);
  layout->addWidget(text);
  layout->addWidget(bar);
  mp_Layout->addWidget(widget);
  return {widget, text, bar, isCommand};
}

void RunningCommands::add(RunningCommand* run) {
  const Row row = createRow(run->title(), true);
  row.widget->setObjectName(QStringLiteral("running"));
  if (run->isAbortable()) row.widget->layout()->addWidget(createAbortButton(run));
  connect(run, &RunningCommand::textChanged, row.text,
          [row, run](const QString& text) { row.text->setText(QStringLiteral("%1: %2").arg(run->title(), text)); });
  connect(run, &RunningCommand::detailChanged, row.text,
          [row, run](const QString& detail) { row.text->setText(QStringLiteral("%1: %2").arg(run->title(), detail)); });
  connect(run, &RunningCommand::percentChanged, row.bar, [row](int percent) { showPercent(row.bar, percent); });
  connect(run, &RunningCommand::finished, row.widget, [this, run] { delete m_Rows.take(run).widget; });
  m_Rows[run] = row;
}

QWidget* RunningCommands::createAbortButton(RunningCommand* run) {
  auto* button = new QToolButton;
  button->setObjectName(QStringLiteral("abort"));
  button->setText(tr("Stop"));
  button->setToolTip(tr("Ask “%1” to end now (Ctrl+.)").arg(run->title()));
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

void RunningCommands::begin(const void* id, const QString& label) { m_Rows[id] = createRow(label, false); }

void RunningCommands::beginPart(const void* id, const QString& label) {
  // A command without a percentage of its own is most likely the one whose work this is.
  for (auto row = m_Rows.cbegin(); row != m_Rows.cend(); ++row) {
    if (!row->isCommand || row->bar->maximum() != 0 || m_Parts.values().contains(row.key())) continue;
    m_Parts[id] = row.key();
    return;
  }
  begin(id, label);
}

void RunningCommands::update(const void* id, int percent) {
  const auto row = m_Rows.constFind(m_Parts.value(id, id));
  if (row != m_Rows.cend()) showPercent(row->bar, percent);
}

void RunningCommands::end(const void* id) {
  if (!m_Parts.contains(id)) {
    delete m_Rows.take(id).widget;
    return;
  }
  const auto row = m_Rows.constFind(m_Parts.take(id));
  if (row != m_Rows.cend()) showPercent(row->bar, -1);
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
