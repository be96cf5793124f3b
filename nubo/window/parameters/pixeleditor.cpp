#include "nubo/window/parameters/pixeleditor.h"

#include <QLineEdit>
#include <QLocale>
#include <QMenu>
#include <QSpinBox>
#include <QToolButton>
#include <limits>

#include "nubo/cli/pixellength.h"

namespace nubo::window {

namespace {

constexpr double MillimetresPerInch = 25.4;

/// Without a resolution the sides are pixels, with one they are millimetres.
struct UsualSize {
  const char* name;
  double width, height;
  double dotsPerInch;

  QSize pixels() const {
    const double factor = dotsPerInch > 0 ? dotsPerInch / MillimetresPerInch : 1;
    return {qRound(width * factor), qRound(height * factor)};
  }
};

constexpr UsualSize UsualSizes[] = {
    {QT_TRANSLATE_NOOP("nubo::window::PixelEditor", "1080p"), 1920, 1080, 0},
    {QT_TRANSLATE_NOOP("nubo::window::PixelEditor", "4K"), 3840, 2160, 0},
    {QT_TRANSLATE_NOOP("nubo::window::PixelEditor", "Square"), 1080, 1080, 0},
    {QT_TRANSLATE_NOOP("nubo::window::PixelEditor", "A4, 300 dpi"), 297, 210, 300},
    {QT_TRANSLATE_NOOP("nubo::window::PixelEditor", "A4, 600 dpi"), 297, 210, 600},
    {QT_TRANSLATE_NOOP("nubo::window::PixelEditor", "A3, 300 dpi"), 420, 297, 300},
    {QT_TRANSLATE_NOOP("nubo::window::PixelEditor", "A3, 600 dpi"), 420, 297, 600},
};

}  // namespace

/// A spin box that reads lengths, too, and shows the pixels that they are.
class PixelEditor::Box : public QSpinBox {
 public:
  Box() {
    setRange(std::numeric_limits<int>::min(), std::numeric_limits<int>::max());
    setStepType(QAbstractSpinBox::AdaptiveDecimalStepType);
    setKeyboardTracking(true);
    setMinimumWidth(fontMetrics().horizontalAdvance(QStringLiteral("0000000000")));
    connect(lineEdit(), &QLineEdit::textEdited, this, [this](const QString& text) {
      QString refusal;
      const auto length = app::isPixelLength(text) ? app::readPixelLength(text, refusal) : std::nullopt;
      m_DotsPerInch = length ? length->dotsPerInch : 0;
    });
  }
  double dotsPerInch() const { return m_DotsPerInch; }
  void setPixels(int pixels, double dotsPerInch) {
    m_DotsPerInch = dotsPerInch;
    setValue(pixels);
  }

 protected:
  QValidator::State validate(QString& text, int& at) const override {
    if (!app::isPixelLength(text)) return QSpinBox::validate(text, at);
    QString refusal;
    return app::readPixelLength(text, refusal) ? QValidator::Acceptable : QValidator::Intermediate;
  }
  int valueFromText(const QString& text) const override {
    QString refusal;
    const auto length = app::isPixelLength(text) ? app::readPixelLength(text, refusal) : std::nullopt;
    return length ? length->pixels : QSpinBox::valueFromText(text);
  }

 private:
  double m_DotsPerInch = 0;
};

PixelEditor::PixelEditor(const main::AbstractParameter& parameter) : ParameterEditor(parameter), mp_Box(new Box) {
  mp_Box->setToolTip(tr("A number of pixels, or a length on paper such as 180mm@300dpi"));
  auto* sizes = new QToolButton;
  sizes->setObjectName(QStringLiteral("sizes"));
  sizes->setText(tr("Si&zes"));
  sizes->setPopupMode(QToolButton::InstantPopup);
  sizes->setFocusPolicy(Qt::StrongFocus);
  addSizes(sizes);
  fillWith(mp_Box, sizes);
  connect(mp_Box, QOverload<int>::of(&QSpinBox::valueChanged), this, &ParameterEditor::changed);
}

void PixelEditor::addSizes(QToolButton* button) {
  auto* menu = new QMenu(button);
  for (const UsualSize& size : UsualSizes) {
    const QSize pixels = size.pixels();
    const QAction* action =
        menu->addAction(QStringLiteral("%1 (%2 × %3)").arg(tr(size.name)).arg(pixels.width()).arg(pixels.height()));
    connect(action, &QAction::triggered, this, [this, pixels, dotsPerInch = size.dotsPerInch] {
      setSize(pixels, dotsPerInch);
      emit sizeChosen(pixels, dotsPerInch);
    });
  }
  button->setMenu(menu);
}

QString PixelEditor::text() const { return QString::number(mp_Box->value()); }

void PixelEditor::setText(const QString& text) {
  bool isNumber = false;
  const int pixels = text.toInt(&isNumber);
  if (isNumber) mp_Box->setPixels(pixels, 0);
}

double PixelEditor::dotsPerInch() const { return mp_Box->dotsPerInch(); }

QString PixelEditor::hint() const {
  if (dotsPerInch() <= 0) return QString();
  const double millimetres = mp_Box->value() / dotsPerInch() * MillimetresPerInch;
  return tr("%1 mm at %2 dpi").arg(QLocale().toString(millimetres, 'f', 1)).arg(dotsPerInch());
}

void PixelEditor::setSize(QSize size, double dotsPerInch) {
  const bool isAcross = m_Parameter.getQuantity() == main::AbstractParameter::Quantity::PixelsAcross;
  mp_Box->setPixels(isAcross ? size.width() : size.height(), dotsPerInch);
  emit changed();  // the resolution alone may be another
}

}  // namespace nubo::window
