#include "nubo/window/look/icons.h"

#include <QGuiApplication>
#include <QIconEngine>
#include <QPainter>
#include <QPainterPath>
#include <QPalette>

// Qt's resource macros declare functions, which must lie outside of namespaces.
static void initResources() { Q_INIT_RESOURCE(icons); }

namespace nubo::window {

namespace {

QPainterPath triangle(double left, double right) {
  QPainterPath path;
  path.addPolygon(QPolygonF({{left, 3}, {right, 8}, {left, 13}}));
  path.closeSubpath();
  return path;
}

QPainterPath frame() {
  QPainterPath path;
  path.addRect(2, 3, 12, 10);
  return path;
}

/// What is filled, on a field of 16 x 16.
QPainterPath filledPart(Icon icon) {
  QPainterPath path;
  switch (icon) {
    case Icon::Play:
      return triangle(4, 13);
    case Icon::Forward:
      path = triangle(3, 10);
      path.addRect(11, 3, 2, 10);
      return path;
    case Icon::Back:
      path = triangle(13, 6);
      path.addRect(3, 3, 2, 10);
      return path;
    case Icon::First:
      path = triangle(9, 3.5);
      path.addPath(triangle(14, 8.5));
      path.addRect(1.5, 3, 1.5, 10);
      return path;
    case Icon::Last:
      path = triangle(2, 7.5);
      path.addPath(triangle(7, 12.5));
      path.addRect(13, 3, 1.5, 10);
      return path;
    case Icon::Pause:
      path.addRect(4, 3, 3, 10);
      path.addRect(9, 3, 3, 10);
      return path;
    case Icon::Stop:
      path.addRect(4, 4, 8, 8);
      return path;
    case Icon::SplitRight:
      path.addRect(8, 3, 6, 10);
      return path;
    case Icon::SplitDown:
      path.addRect(2, 8, 12, 5);
      return path;
    default:
      return path;
  }
}

void addLines(QPainterPath& path, std::initializer_list<QLineF> lines) {
  for (const QLineF& line : lines) {
    path.moveTo(line.p1());
    path.lineTo(line.p2());
  }
}

/// What is drawn as lines.
QPainterPath outline(Icon icon) {
  QPainterPath path;
  switch (icon) {
    case Icon::Open:
      path.addPolygon(QPolygonF({{1.5, 13}, {1.5, 3}, {6, 3}, {7.5, 5}, {14.5, 5}, {14.5, 13}, {1.5, 13}}));
      return path;
    case Icon::Fit:
      addLines(path, {{2, 6, 2, 2}, {2, 2, 6, 2}, {10, 2, 14, 2}, {14, 2, 14, 6}});
      addLines(path, {{14, 10, 14, 14}, {14, 14, 10, 14}, {6, 14, 2, 14}, {2, 14, 2, 10}});
      path.addEllipse(QPointF(8, 8), 2.5, 2.5);
      return path;
    case Icon::NewTab:
      path = frame();
      addLines(path, {{8, 5, 8, 11}, {5, 8, 11, 8}});
      return path;
    case Icon::SplitRight:
    case Icon::SplitDown:
      return frame();
    case Icon::Float:
      path.addRect(2, 6, 8, 8);
      addLines(path, {{6, 6, 6, 2}, {6, 2, 14, 2}, {14, 2, 14, 10}, {14, 10, 10, 10}});
      return path;
    case Icon::Close:
      addLines(path, {{4, 4, 12, 12}, {12, 4, 4, 12}});
      return path;
    default:
      return path;
  }
}

class Engine : public QIconEngine {
 public:
  explicit Engine(Icon icon) : m_Icon(icon) {}
  void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State) override {
    const auto group = mode == QIcon::Disabled ? QPalette::Disabled : QPalette::Active;
    const QColor color = QGuiApplication::palette().color(group, QPalette::ButtonText);
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    painter->translate(rect.topLeft());
    painter->scale(rect.width() / 16.0, rect.height() / 16.0);
    painter->fillPath(filledPart(m_Icon), color);
    painter->strokePath(outline(m_Icon), QPen(color, 1.4));
    painter->restore();
  }
  QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override {
    QPixmap pixmap(size);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    paint(&painter, QRect(QPoint(), size), mode, state);
    return pixmap;
  }
  QIconEngine* clone() const override { return new Engine(*this); }

 private:
  Icon m_Icon;
};

}  // namespace

QIcon makeIcon(Icon icon) { return QIcon(new Engine(icon)); }

QIcon productIcon() {
  initResources();
  QIcon icon;
  for (const int size : {32, 48, 128}) icon.addFile(QStringLiteral(":/icons/nubo-%1.png").arg(size));
  return icon;
}

}  // namespace nubo::window
