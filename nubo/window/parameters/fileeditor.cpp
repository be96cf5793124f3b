#include "nubo/window/parameters/fileeditor.h"

#include <QFileDialog>
#include <QLineEdit>
#include <QRegularExpression>
#include <QToolButton>
#include <memory>

#include "kernel/main/parameterpanelfactory.h"
#include "nubo/cli/filecheck.h"

namespace nubo::window {

namespace {

QStringList suffixesOf(const QStringList& filters) {
  static const QRegularExpression pattern(QStringLiteral("\\*\\.([\\w.+-]+)"));
  QStringList suffixes;
  for (const QString& filter : filters) {
    auto matches = pattern.globalMatch(filter);
    while (matches.hasNext()) suffixes << matches.next().captured(1).toLower();
  }
  return suffixes;
}

}  // namespace

FileEditor::FileEditor(const main::AbstractParameter& parameter, const main::FileParameterPanelFactory& factory)
    : ParameterEditor(parameter), m_Factory(factory), mp_Line(new QLineEdit) {
  const std::unique_ptr<QFileDialog> dialog(factory.createDialog());
  m_Saves = dialog->acceptMode() == QFileDialog::AcceptSave;
  m_Directory = dialog->directory();
  m_DefaultSuffix = dialog->defaultSuffix();
  m_Suffixes = suffixesOf(dialog->nameFilters());
  auto* button = new QToolButton;
  button->setText(tr("C&hoose…"));
  button->setToolTip(tr("Choose the file in a dialog"));
  button->setFocusPolicy(Qt::StrongFocus);
  connect(button, &QToolButton::clicked, this, &FileEditor::choose);
  mp_Line->setMinimumWidth(mp_Line->fontMetrics().averageCharWidth() * 14);
  fillWith(mp_Line, button);
  connect(mp_Line, &QLineEdit::textChanged, this, &ParameterEditor::changed);
}

QSize FileEditor::sizeHint() const {
  return QWidget::sizeHint().expandedTo({fontMetrics().averageCharWidth() * 60, 0});
}

QString FileEditor::text() const { return completed(mp_Line->text().trimmed()); }

QString FileEditor::completed(const QString& name) const {
  if (name.isEmpty()) return QString();
  QString path = m_Directory.absoluteFilePath(name);
  if (m_Saves && !m_DefaultSuffix.isEmpty() && !name.endsWith(QLatin1Char('/')) && QFileInfo(path).suffix().isEmpty())
    path += QLatin1Char('.') + m_DefaultSuffix;
  return path;
}

void FileEditor::setText(const QString& text) { mp_Line->setText(m_Saves ? app::freeName(completed(text)) : text); }

QString FileEditor::refusal() const {
  const QString common = ParameterEditor::refusal();
  const QString path = text();
  if (!common.isEmpty() || path.isEmpty()) return common;
  if (!m_Saves) return QFileInfo(path).isFile() ? QString() : tr("There is no such file.");
  const QString suffix = QFileInfo(path).suffix().toLower();
  if (!m_Suffixes.isEmpty() && !m_Suffixes.contains(suffix))
    return tr("“.%1” is not among the formats: %2.").arg(suffix, m_Suffixes.join(QStringLiteral(", ")));
  const QString cause = app::whyNotWritable(path);
  return cause.isEmpty() ? QString() : tr("It cannot be written there: %1.").arg(cause);
}

QString FileEditor::hint() const {
  const QString path = text();
  return m_Saves && QFileInfo(path).isFile() ? tr("The file exists and will be replaced.") : QString();
}

void FileEditor::choose() {
  const std::unique_ptr<QFileDialog> dialog(m_Factory.createDialog());
  dialog->setParent(window(), dialog->windowFlags());
  const QFileInfo current(text());
  if (!text().isEmpty() && current.dir().exists()) {
    dialog->setDirectory(current.dir());
    dialog->selectFile(current.fileName());
    for (const QString& filter : dialog->nameFilters())
      if (suffixesOf({filter}).contains(current.suffix().toLower())) dialog->selectNameFilter(filter);
  }
  if (dialog->exec() == QDialog::Accepted && !dialog->selectedFiles().isEmpty())
    mp_Line->setText(dialog->selectedFiles().first());
}

}  // namespace nubo::window
