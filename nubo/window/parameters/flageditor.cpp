#include "nubo/window/parameters/flageditor.h"

#include <QCheckBox>

#include "nubo/cli/commandarguments.h"

namespace nubo::window {

FlagEditor::FlagEditor(const main::AbstractParameter& parameter) : ParameterEditor(parameter), mp_Box(new QCheckBox) {
  fillWith(mp_Box);
  connect(mp_Box, &QCheckBox::toggled, this, [this] {
    showMeaning();
    emit changed();
  });
  showMeaning();
}

void FlagEditor::showMeaning() {
  mp_Box->setText(mp_Box->isChecked() ? tr("“%1” is on").arg(m_Parameter.getName())
                                      : tr("“%1” is off").arg(m_Parameter.getName()));
}

QString FlagEditor::text() const { return mp_Box->isChecked() ? QStringLiteral("1") : QStringLiteral("0"); }

void FlagEditor::setText(const QString& text) {
  static const QStringList yes{"1", "true", "yes", "on"};
  mp_Box->setChecked(yes.contains(text.trimmed().toLower()));
}

QString FlagEditor::hint() const {
  if (!app::describesNumbersReversed(m_Parameter)) return QString();
  return tr("Ticked means on; the numbers in the description are the wrong way round.");
}

}  // namespace nubo::window
