#include "nubo/window/parameters/parameterpage.h"

#include <QDir>
#include <QFileInfo>
#include <QGridLayout>
#include <QLabel>
#include <QScreen>
#include <QSettings>
#include <algorithm>

#include "kernel/main/overseer.h"
#include "kernel/main/parameter.h"
#include "kernel/main/parameterpanelfactory.h"
#include "module_scene/graph/scene.h"
#include "nubo/cli/commandarguments.h"
#include "nubo/window/look/colors.h"
#include "nubo/window/parameters/parametereditor.h"
#include "nubo/window/parameters/pixeleditor.h"

namespace nubo::window {

namespace {

bool isFile(const main::AbstractParameter& parameter) {
  return dynamic_cast<main::FileParameterPanelFactory*>(parameter.getParameterPanelFactory());
}

/// The file name with a place for each view's name, or without it.
QString withPlaceForView(const QString& fileName, bool wanted) {
  const QFileInfo file(fileName);
  const QString place = QLatin1Char('-') + app::ViewPlace;
  const QString base = wanted ? file.completeBaseName() + place : file.completeBaseName().remove(place);
  return file.dir().filePath(base + QLatin1Char('.') + file.suffix());
}

}  // namespace

ParameterPage::ParameterPage(main::Command& command, const main::ParameterSet& set, bool narrow, QWidget* parent)
    : QWidget(parent),
      m_Command(command),
      m_Set(set),
      m_StoresSettings(dynamic_cast<const main::SettingsCommand*>(&command)),
      m_Narrow(narrow),
      mp_Summary(new QLabel) {
  setObjectName(QStringLiteral("set:%1").arg(set.getID()));
  auto* layout = new QGridLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->setColumnStretch(1, 1);
  for (const main::AbstractParameter* parameter : set.parameters()) addLine(layout, *parameter);
  if (!m_Lines.empty()) setFocusProxy(m_Lines.front().editor);
  mp_Summary->setObjectName(QStringLiteral("summary"));
  mp_Summary->setWordWrap(true);
  layout->addWidget(mp_Summary, layout->rowCount(), 0, 1, 2);
  showRemarks();
}

void ParameterPage::addLine(QGridLayout* layout, const main::AbstractParameter& parameter) {
  const int labelWidth = qMin(260, screen()->availableSize().width() / 4);
  ParameterEditor* editor = ParameterEditor::create(parameter);
  editor->setObjectName(parameter.getName());
  auto* label = new QLabel(parameter.getDescription());
  label->setBuddy(editor);
  label->setWordWrap(true);
  if (!m_Narrow) label->setFixedWidth(qMin(labelWidth, label->fontMetrics().horizontalAdvance(label->text()) + 4));
  const QString toolTip = QStringLiteral("<b>%1</b><br>%2")
                              .arg(parameter.getName().toHtmlEscaped(), parameter.getDescription().toHtmlEscaped());
  for (QWidget* widget : QList<QWidget*>{editor, label}) widget->setToolTip(toolTip);
  editor->focusProxy()->setAccessibleName(parameter.getName());
  editor->focusProxy()->setAccessibleDescription(parameter.getDescription());
  auto* remark = new QLabel;
  remark->setWordWrap(true);
  remark->setObjectName(parameter.getName() + QStringLiteral(":remark"));
  const int row = layout->rowCount(), below = m_Narrow ? row + 1 : row;
  layout->addWidget(label, row, 0, 1, m_Narrow ? 2 : 1);
  layout->addWidget(editor, below, 1);
  layout->addWidget(remark, below + 1, 1);
  editor->setText(startText(parameter));
  const Line line{&parameter, editor, remark, editor->text()};
  m_Lines.push_back(line);
  connect(editor, &ParameterEditor::changed, this, &ParameterPage::showRemarks);
  if (const auto* pixels = qobject_cast<PixelEditor*>(editor))
    connect(pixels, &PixelEditor::sizeChosen, this, &ParameterPage::setSize);
}

/// A size has both its sides, whichever of them it was chosen for.
void ParameterPage::setSize(QSize size, double dotsPerInch) {
  for (const Line& line : m_Lines)
    if (auto* pixels = qobject_cast<PixelEditor*>(line.editor); pixels && pixels != sender())
      pixels->setSize(size, dotsPerInch);
  const auto isDown = [](const Line& line) {
    return line.parameter->getQuantity() == main::AbstractParameter::Quantity::PixelsDown;
  };
  if (std::none_of(m_Lines.begin(), m_Lines.end(), isDown)) emit shapeChosen(size);
}

/// Of all values, since some are right or wrong together. What the marked ones are refused for.
QStringList ParameterPage::showRemarks() {
  const QStringList texts = m_Checked ? refusals() : QStringList();
  for (std::size_t i = 0; i < m_Lines.size(); ++i) showRemark(m_Lines[i], texts.value(int(i)));
  showSummary();
  emit remarksChanged();
  return texts;
}

/// What the command would make of the values as they stand. Files are not tried for it: it follows every letter.
void ParameterPage::showSummary() {
  mp_Summary->setText(doValuesFit() ? m_Set.summarize(values()) : QString());
  mp_Summary->setVisible(!mp_Summary->text().isEmpty());
}

void ParameterPage::setPlaceForView(bool wanted) {
  m_ForViews = wanted;
  for (const Line& line : m_Lines) {
    if (!isFile(*line.parameter) || line.editor->text().contains(app::ViewPlace) == wanted) continue;
    line.editor->setText(withPlaceForView(line.editor->text(), wanted));
  }
  showRemarks();
}

main::ParameterSet::Frame ParameterPage::frame() const {
  return doValuesFit() ? m_Set.frame(values()) : main::ParameterSet::Frame();
}

bool ParameterPage::doValuesFit() const {
  const auto fits = [](const Line& line) {
    const QString text = line.editor->text();
    return text.isEmpty() ? !line.parameter->isRequired() : line.parameter->explainRefusal(text).isEmpty();
  };
  return std::all_of(m_Lines.begin(), m_Lines.end(), fits);
}

/// One for each line, empty where all is well.
QStringList ParameterPage::refusals() const {
  QStringList texts;
  for (const Line& line : m_Lines) texts << refusal(line);
  if (!texts.join(QString()).isEmpty()) return texts;
  const main::ParameterSet::Refusal refusal = m_Set.check(values());
  if (refusal.parameter < m_Lines.size()) texts[int(refusal.parameter)] = refusal.text;
  return texts;
}

QString ParameterPage::refusal(const Line& line) const {
  const QString text = line.editor->refusal();
  if (!text.isEmpty() || !isFile(*line.parameter)) return text;
  if (m_ForViews && !line.editor->text().contains(app::ViewPlace))
    return tr("“%1” has to stand in the name, where each view has its own.").arg(app::ViewPlace);
  // To Qt all files that are not there are the same.
  const auto isBusy = [file = QFileInfo(line.editor->text())](const QString& busy) {
    return file.exists() ? file == QFileInfo(busy) : file.absoluteFilePath() == QFileInfo(busy).absoluteFilePath();
  };
  return std::any_of(m_BusyFiles.begin(), m_BusyFiles.end(), isBusy) ? tr("Another command is writing this file.")
                                                                     : QString();
}

void ParameterPage::showRemark(const Line& line, const QString& refusal) {
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
}

ParameterEditor* ParameterPage::check() {
  m_Checked = true;
  const QStringList texts = showRemarks();
  for (std::size_t i = 0; i < m_Lines.size(); ++i)
    if (!texts[int(i)].isEmpty()) return m_Lines[i].editor;
  return nullptr;
}

/// Settings start from those in force, wherever they were changed.
void ParameterPage::remember() const {
  if (m_StoresSettings) return;
  for (const Line& line : m_Lines) {
    const QString text = line.editor->text();
    const bool isForViews = m_ForViews && isFile(*line.parameter);  // which the next call need not be
    main::nuboSettings()->setValue(settingsKey("values", *line.parameter),
                                   isForViews ? withPlaceForView(text, false) : text);
    if (isFile(*line.parameter)) main::nuboSettings()->setValue(settingsKey("scenes", *line.parameter), sceneName());
  }
}

QString ParameterPage::settingsKey(const char* group, const main::AbstractParameter& parameter) const {
  QString name = parameter.getName();
  return QStringLiteral("window/%1/%2/%3")
      .arg(QLatin1String(group), m_Command.getName(), name.replace(QLatin1Char('/'), QLatin1Char('_')));
}

/// A name for a file that is made of the scene.
QString ParameterPage::sceneName() const {
  const auto root = scene::_GlobalScene()->getRootNode();
  // What follows the first dot may be taken for the format.
  const QString name = root ? QFileInfo(root->getName()).completeBaseName().replace('.', '-') : QString();
  return name.isEmpty() ? m_Command.getName() : name;
}

/// Remembered values may be anything: the file can be edited by hand.
QString ParameterPage::startText(const main::AbstractParameter& parameter) const {
  const QString start = app::defaultText(parameter);
  if (m_StoresSettings) return start;
  const QString remembered = main::nuboSettings()->value(settingsKey("values", parameter)).toString();
  const bool isUsable = !remembered.isEmpty() && parameter.explainRefusal(remembered).isEmpty();
  if (isFile(parameter) && start.isEmpty()) return startName(parameter, isUsable ? remembered : QString());
  if (isUsable) return remembered;
  const QString suggestion = parameter.getSuggestion();
  return suggestion.isEmpty() ? start : suggestion;
}

/// Of another scene than the remembered one, a file has that one's folder and format, and its own scene's name.
QString ParameterPage::startName(const main::AbstractParameter& parameter, const QString& remembered) const {
  if (remembered.isEmpty()) return sceneName() + parameter.getSuggestion();
  if (main::nuboSettings()->value(settingsKey("scenes", parameter)).toString() == sceneName()) return remembered;
  const QFileInfo file(remembered);
  return file.dir().filePath(sceneName() + QLatin1Char('.') + file.suffix());
}

main::ParameterSet ParameterPage::values() const {
  main::ParameterSet values(m_Set.getID(), m_Set.getName());
  for (const Line& line : m_Lines) {
    auto* value = new main::Parameter<QString>(line.parameter->getName(), line.parameter->getDescription(), QString(),
                                               false, nullptr);
    values.addParameter(value);
    if (!line.editor->text().isEmpty()) value->castString(line.editor->text());
    value->setDotsPerInch(line.editor->dotsPerInch());
    value->setChosen(line.editor->text() != line.start);
  }
  return values;
}

}  // namespace nubo::window
