#include "nubo/window/look/appearance.h"

#include <QApplication>
#include <QDockWidget>
#include <QPainter>
#include <QPalette>
#include <QProxyStyle>
#include <QStyleOption>

#include "nubo/window/look/colors.h"
#include "nubo/window/look/icons.h"

namespace nubo::window {

namespace {

QPalette palette(const QColor& window, const QColor& base, const QColor& text, const QColor& highlight) {
  QPalette palette(text, window, window.lighter(130), window.darker(160), window.darker(125), text, Qt::white, base,
                   window);
  palette.setColor(QPalette::AlternateBase, base.value() < 128 ? base.lighter(120) : base.darker(104));
  palette.setColor(QPalette::Highlight, highlight);
  palette.setColor(QPalette::HighlightedText, Qt::white);
  palette.setColor(QPalette::ToolTipBase, base);
  palette.setColor(QPalette::ToolTipText, text);
  palette.setColor(QPalette::Link, base.value() < 128 ? highlight.lighter(150) : highlight);
  QColor faint = text;
  faint.setAlpha(110);
  for (const QPalette::ColorRole role : {QPalette::Text, QPalette::WindowText, QPalette::ButtonText})
    palette.setColor(QPalette::Disabled, role, faint);
  palette.setColor(QPalette::PlaceholderText, faint);
  return palette;
}

/// Styles outline sliders and boxes that can be ticked in a darker shade of the window's colour, which hardly shows on
/// a dark one, and draw the buttons of tabs and docks in black.
class Style : public QProxyStyle {
 public:
  using QProxyStyle::QProxyStyle;
  void drawPrimitive(PrimitiveElement element, const QStyleOption* option, QPainter* painter,
                     const QWidget* widget) const override {
    if (element == PE_IndicatorTabClose) return drawTabClose(option, painter);
    const bool isBox = element == PE_IndicatorCheckBox || element == PE_IndicatorRadioButton;
    if (!isBox || !isDark(option->palette)) return QProxyStyle::drawPrimitive(element, option, painter, widget);
    QStyleOptionButton outlined;
    outlined.QStyleOption::operator=(*option);
    outlined.palette.setColor(QPalette::Window, option->palette.color(QPalette::Text));
    QProxyStyle::drawPrimitive(element, &outlined, painter, widget);
  }
  void drawComplexControl(ComplexControl control, const QStyleOptionComplex* option, QPainter* painter,
                          const QWidget* widget) const override {
    const auto* slider = qstyleoption_cast<const QStyleOptionSlider*>(option);
    if (control != CC_Slider || !slider || !isDark(option->palette))
      return QProxyStyle::drawComplexControl(control, option, painter, widget);
    QStyleOptionSlider outlined(*slider);
    outlined.palette.setColor(QPalette::Window, option->palette.color(QPalette::Window).lighter(240));
    QProxyStyle::drawComplexControl(control, &outlined, painter, widget);
  }
  QIcon standardIcon(StandardPixmap icon, const QStyleOption* option, const QWidget* widget) const override {
    const bool isDock = widget && (qobject_cast<const QDockWidget*>(widget->parentWidget()) ||
                                   qobject_cast<const QDockWidget*>(widget));
    if (isDock && icon == SP_TitleBarCloseButton) return makeIcon(Icon::Close);
    if (isDock && icon == SP_TitleBarNormalButton) return makeIcon(Icon::Float);
    return QProxyStyle::standardIcon(icon, option, widget);
  }

 private:
  static void drawTabClose(const QStyleOption* option, QPainter* painter) {
    if (option->state & State_Raised) painter->fillRect(option->rect, option->palette.mid());  // under the mouse
    makeIcon(Icon::Close).paint(painter, option->rect.adjusted(2, 2, -2, -2));
  }
};

void installStyle() {
  static const bool isInstalled = [] {
    QApplication::setStyle(new Style(QApplication::style()->objectName()));
    return true;
  }();
  Q_UNUSED(isInstalled)
}

}  // namespace

QStringList appearances() { return {QStringLiteral("system"), QStringLiteral("light"), QStringLiteral("dark")}; }

void applyAppearance(const QString& name) {
  installStyle();
  const QColor highlight(0x2a, 0x72, 0xc8);
  if (name == QLatin1String("dark"))
    QApplication::setPalette(
        palette(QColor(0x3a, 0x3d, 0x43), QColor(0x1c, 0x1d, 0x20), QColor(0xe4, 0xe6, 0xea), highlight));
  else if (name == QLatin1String("light"))
    QApplication::setPalette(
        palette(QColor(0xef, 0xf0, 0xf1), QColor(0xff, 0xff, 0xff), QColor(0x1e, 0x20, 0x24), highlight));
  else
    QApplication::setPalette(QPalette());
}

}  // namespace nubo::window
