#include "nubo/window/parameterdialog.h"

#include <QDialogButtonBox>
#include <QGridLayout>
#include <QLabel>
#include <QPushButton>
#include <QSettings>

#include "kernel/main/overseer.h"
#include "kernel/main/parameter.h"
#include "kernel/main/parameterpanelfactory.h"
#include "nubo/commandarguments.h"
#include "nubo/window/colors.h"
#include "nubo/window/parametereditor.h"

namespace nubo::window {

ParameterDialog::ParameterDialog(main::Command& command, const QString& title, QWidget* parent)
    : QDialog(parent), m_Command(command) {
  setWindowTitle(title);
  setObjectName(QStringLiteral("parameters"));
  auto* layout = new QGridLayout(this);
  layout->setColumnStretch(1, 1);
  for (const main::AbstractParameter* parameter : command.getParameterSets().front().parameters())
    addLine(layout, *parameter);
  const bool storesSettings = dynamic_cast<main::SettingsCommand*>(&command);
  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
  buttons->button(QDialogButtonBox::Ok)->setText(storesSettings ? tr("&Save") : tr("&Start"));
  connect(buttons, &QDialogButtonBox::accepted, this, &ParameterDialog::accept);
  connect(buttons, &QDialogButtonBox::rejected, this, &ParameterDialog::reject);
  layout->setRowStretch(layout->rowCount(), 1);
  layout->addWidget(buttons, layout->rowCount(), 0, 1, 2);
  if (!m_Lines.empty()) m_Lines.front().editor->setFocus();
}

ParameterDialog::~ParameterDialog() = default;

void ParameterDialog::addLine(QGridLayout* layout, const main::AbstractParameter& parameter) {
  constexpr int LabelWidth = 260;
  ParameterEditor* editor = ParameterEditor::create(parameter);
  editor->setObjectName(parameter.getName());
  auto* label = new QLabel(parameter.getDescription());
  label->setBuddy(editor);
  label->setWordWrap(true);
  label->setFixedWidth(qMin(LabelWidth, label->fontMetrics().horizontalAdvance(label->text()) + 4));
  const QString toolTip = QStringLiteral("<b>%1</b><br>%2")
                              .arg(parameter.getName().toHtmlEscaped(), parameter.getDescription().toHtmlEscaped());
  for (QWidget* widget : QList<QWidget*>{editor, label}) widget->setToolTip(toolTip);
  editor->focusProxy()->setAccessibleName(parameter.getName());
  editor->focusProxy()->setAccessibleDescription(parameter.getDescription());
  auto* remark = new QLabel;
  remark->setWordWrap(true);
  remark->setObjectName(parameter.getName() + QStringLiteral(":remark"));
  const int row = layout->rowCount();
  layout->addWidget(label, row, 0, Qt::AlignTop);
  layout->addWidget(editor, row, 1);
  layout->addWidget(remark, row + 1, 1);
  editor->setText(startText(parameter));
  const Line line{&parameter, editor, remark};
  m_Lines.push_back(line);
  connect(editor, &ParameterEditor::changed, this, [this, line] { showRemark(line); });
  showRemark(line);
}

void ParameterDialog::showRemark(const Line& line) {
  const QString refusal = m_Checked ? line.editor->refusal() : QString();
  const QString text = refusal.isEmpty() ? line.editor->hint() : refusal;
  line.remark->setText(text);
  line.remark->setVisible(!text.isEmpty());
  line.remark->setForegroundRole(refusal.isEmpty() ? QPalette::WindowText : QPalette::BrightText);
  QPalette palette = line.remark->palette();
  palette.setColor(QPalette::BrightText, failureColor(this->palette()));
  line.remark->setPalette(palette);
  QPalette marked = this->palette();
  if (!refusal.isEmpty()) marked.setColor(QPalette::Base, failureBackground(marked));
  line.editor->focusProxy()->setPalette(marked);
  if (!isVisible()) return;
  layout()->activate();
  resize(width(), qMax(height(), layout()->heightForWidth(width())));
}

QString ParameterDialog::settingsKey(const main::AbstractParameter& parameter) const {
  QString name = parameter.getName();
  return QStringLiteral("window/values/%1/%2")
      .arg(m_Command.getName(), name.replace(QLatin1Char('/'), QLatin1Char('_')));
}

/// Remembered values may be anything: the file can be edited by hand.
QString ParameterDialog::startText(const main::AbstractParameter& parameter) const {
  const QString start = app::defaultText(parameter);
  if (dynamic_cast<main::SettingsCommand*>(&m_Command)) return start;
  const QString remembered = main::nuboSettings()->value(settingsKey(parameter)).toString();
  if (!remembered.isEmpty() && parameter.explainRefusal(remembered).isEmpty()) return remembered;
  if (!start.isEmpty()) return start;
  const bool isFile = dynamic_cast<main::FileParameterPanelFactory*>(parameter.getParameterPanelFactory());
  return isFile ? m_Command.getName() : QString();
}

void ParameterDialog::accept() {
  m_Checked = true;
  ParameterEditor* firstBad = nullptr;
  for (const Line& line : m_Lines) {
    showRemark(line);
    if (!firstBad && !line.editor->refusal().isEmpty()) firstBad = line.editor;
  }
  if (firstBad) return firstBad->setFocus();
  if (!dynamic_cast<main::SettingsCommand*>(&m_Command))
    for (const Line& line : m_Lines) main::nuboSettings()->setValue(settingsKey(*line.parameter), line.editor->text());
  QDialog::accept();
}

main::ParameterSet ParameterDialog::values() const {
  const main::ParameterSet& own = m_Command.getParameterSets().front();
  main::ParameterSet values(own.getID(), own.getName());
  for (const Line& line : m_Lines) {
    auto* value = new main::Parameter<QString>(line.parameter->getName(), line.parameter->getDescription(), QString(),
                                               false, nullptr);
    values.addParameter(value);
    if (!line.editor->text().isEmpty()) value->castString(line.editor->text());
  }
  return values;
}

}  // namespace nubo::window
