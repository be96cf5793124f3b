#include "nubo/window/parameters/parametereditor.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QSlider>
#include <QSpinBox>
#include <limits>
#include <memory>

#include "kernel/main/parameterpanelfactory.h"
#include "nubo/window/parameters/fileeditor.h"
#include "nubo/window/parameters/flageditor.h"
#include "nubo/window/parameters/pixeleditor.h"

namespace nubo::window {

namespace {

class TextEditor : public ParameterEditor {
 public:
  explicit TextEditor(const main::AbstractParameter& parameter) : ParameterEditor(parameter), mp_Line(new QLineEdit) {
    fillWith(mp_Line, parameter.getUnit().isEmpty() ? nullptr : new QLabel(parameter.getUnit()));
    connect(mp_Line, &QLineEdit::textChanged, this, &ParameterEditor::changed);
  }
  QString text() const override { return mp_Line->text(); }
  void setText(const QString& text) override { mp_Line->setText(text); }

 private:
  QLineEdit* mp_Line;
};

/// A spin box, with the slider beside it where there is one. Numbers that do not fit into the box are not taken over.
class NumberEditor : public ParameterEditor {
 public:
  NumberEditor(const main::AbstractParameter& parameter, std::unique_ptr<QSlider> slider)
      : ParameterEditor(parameter), mp_Box(new QSpinBox) {
    mp_Box->setRange(std::numeric_limits<int>::min(), std::numeric_limits<int>::max());
    mp_Box->setStepType(QAbstractSpinBox::AdaptiveDecimalStepType);
    if (!parameter.getUnit().isEmpty()) mp_Box->setSuffix(QLatin1Char(' ') + parameter.getUnit());
    mp_Box->setMinimumWidth(mp_Box->fontMetrics().horizontalAdvance(QStringLiteral("0000000000")));
    if (slider) {
      mp_Box->setRange(slider->minimum(), slider->maximum());
      mp_Box->setValue(slider->value());
      slider->setFocusPolicy(Qt::StrongFocus);
      slider->setMinimumWidth(140);
      connect(slider.get(), &QSlider::valueChanged, mp_Box, &QSpinBox::setValue);
      connect(mp_Box, QOverload<int>::of(&QSpinBox::valueChanged), slider.get(), &QSlider::setValue);
    }
    fillWith(mp_Box, slider.release());
    connect(mp_Box, QOverload<int>::of(&QSpinBox::valueChanged), this, &ParameterEditor::changed);
  }
  QString text() const override { return QString::number(mp_Box->value()); }
  void setText(const QString& text) override {
    bool isNumber = false;
    const int value = text.toInt(&isNumber);
    if (isNumber) mp_Box->setValue(value);
  }

 private:
  QSpinBox* mp_Box;
};

}  // namespace

ParameterEditor* ParameterEditor::create(const main::AbstractParameter& parameter) {
  main::ParameterPanelFactory* factory = parameter.getParameterPanelFactory();
  if (const auto* files = dynamic_cast<main::FileParameterPanelFactory*>(factory))
    return new FileEditor(parameter, *files);
  if (const auto* sliders = dynamic_cast<main::SliderParameterPanelFactory*>(factory))
    return new NumberEditor(parameter, std::unique_ptr<QSlider>(sliders->createSlider()));
  if (parameter.countsPixels()) return new PixelEditor(parameter);
  if (parameter.getType() == typeid(int)) return new NumberEditor(parameter, nullptr);
  if (parameter.getType() == typeid(bool)) return new FlagEditor(parameter);
  return new TextEditor(parameter);
}

QString ParameterEditor::refusal() const {
  const QString value = text();
  if (!value.isEmpty()) return m_Parameter.explainRefusal(value);
  return m_Parameter.isRequired() ? tr("A value is needed here.") : QString();
}

void ParameterEditor::fillWith(QWidget* editor, QWidget* beside) {
  auto* layout = new QHBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  if (qobject_cast<QSlider*>(beside)) layout->addWidget(std::exchange(beside, nullptr), 1);
  layout->addWidget(editor, layout->isEmpty() ? 1 : 0);
  if (beside) layout->addWidget(beside);
  setFocusProxy(editor);
}

}  // namespace nubo::window
