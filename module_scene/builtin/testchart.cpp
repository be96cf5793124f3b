#include "module_scene/builtin/testchart.h"

#include <QPainter>
#include <QPainterPath>
#include <cmath>

namespace nubo::scene {

namespace {

constexpr double Turn = 2 * 3.14159265358979323846;
const QColor Ink(0x16, 0x1b, 0x24);
const QColor Paper(0xf4, 0xf2, 0xec);
const QColor Accent(0xd2, 0x3b, 0x2a);

// Letters as strokes over a cell 4 wide and 6 high, two digits a point, strokes with blanks between them.
const char* strokesOf(char letter) {
  switch (letter) {
    case 'N':
      return "06004640";
    case 'U':
      return "0001051636454440";
    case 'B':
      return "0600304142330333445536 3606";
    case 'O':
    case '0':
      return "10304145361605 010510 0110";
    case '1':
      return "112026 1636";
    case 'P':
      return "060030414233 3303";
    case 'X':
      return "0046 4006";
    default:
      return "";
  }
}

void drawText(QPainter& painter, const QString& text, QPointF origin, double height) {
  const double unit = height / 6;
  for (const QChar letter : text) {
    const QStringList strokes =
        QString::fromLatin1(strokesOf(letter.toLatin1())).split(QLatin1Char(' '), Qt::SkipEmptyParts);
    for (const QString& stroke : strokes) {
      QPolygonF line;
      for (int i = 0; i + 1 < stroke.size(); i += 2)
        line << origin + QPointF(stroke[i].digitValue(), stroke[i + 1].digitValue()) * unit;
      painter.drawPolyline(line);
    }
    origin.rx() += 5.5 * unit;
  }
}

void drawLettering(QPainter& painter) {
  double y = 0.06;
  for (double height = 0.07; height > 0.003; height *= 0.75) {
    painter.setPen(QPen(Ink, height / 7, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    drawText(painter, QStringLiteral("NUBO 10000 PX"), {0.06, y}, height);
    y += height * 1.45;
  }
}

void drawStar(QPainter& painter, QPointF center, double radius) {
  constexpr int Rays = 72;
  painter.setPen(Qt::NoPen);
  painter.setBrush(Ink);
  for (int i = 0; i < Rays; ++i) {
    const double from = Turn * i / Rays, to = from + Turn / Rays / 2;
    painter.drawPolygon(QPolygonF({center, center + radius * QPointF(std::cos(from), std::sin(from)),
                                   center + radius * QPointF(std::cos(to), std::sin(to))}));
  }
  painter.setBrush(Accent);
  painter.drawEllipse(center, radius * 0.06, radius * 0.06);
}

void drawBars(QPainter& painter) {
  double x = 0.06;
  for (double width = 0.012; x < 0.5; width *= 0.86) {
    for (int i = 0; i < 3; ++i) {
      painter.fillRect(QRectF(x, 0.66, width, 0.12), Ink);
      painter.fillRect(QRectF(x, 0.80, 2.5 * width, width), Ink);
      painter.fillRect(QRectF(x, 0.80 + 2 * width, 2.5 * width, width), Ink);
      x += 2 * width;
    }
    x += width;
    if (width < 0.0012) break;
  }
}

void drawWedge(QPainter& painter) {
  constexpr int Steps = 16;
  for (int i = 0; i < Steps; ++i) {
    const int grey = 255 * i / (Steps - 1);
    painter.fillRect(QRectF(0.06 + 0.88 * i / Steps, 0.885, 0.88 / Steps, 0.055), QColor(grey, grey, grey));
  }
}

void drawCircles(QPainter& painter, QPointF center) {
  painter.setBrush(Qt::NoBrush);
  for (int i = 1; i <= 24; ++i) {
    painter.setPen(QPen(i % 6 == 0 ? Accent : Ink, 0.0012));
    painter.drawEllipse(center, 0.0055 * i, 0.0055 * i);
  }
}

}  // namespace

QImage createTestChart(int size) {
  QImage image(size, size, QImage::Format_RGB32);
  image.fill(Paper);
  QPainter painter(&image);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.scale(size, size);
  drawLettering(painter);
  drawStar(painter, {0.75, 0.645}, 0.19);
  drawCircles(painter, {0.75, 0.29});
  drawBars(painter);
  drawWedge(painter);
  painter.setBrush(Qt::NoBrush);
  painter.setPen(QPen(Ink, 0.006));
  painter.drawRect(QRectF(0.02, 0.02, 0.96, 0.96));
  return image;
}

}  // namespace nubo::scene
