#include "module_scene/graph/background.h"

#include <QImageReader>
#include <QPainter>
#include <algorithm>

namespace nubo::scene {

namespace {

QRgb between(const QColor& from, const QColor& to, double share) {
  const auto mix = [share](int a, int b) { return qRound(a + share * (b - a)); };
  return qRgb(mix(from.red(), to.red()), mix(from.green(), to.green()), mix(from.blue(), to.blue()));
}

QSize covering(const QImage& image, const QSize& size) {
  return image.size().scaled(size, Qt::KeepAspectRatioByExpanding).expandedTo(QSize(1, 1));
}

}  // namespace

QImage readBackgroundImage(const QString& fileName, QString& error) {
  QImageReader reader(fileName);
  reader.setAutoTransform(true);
  QImage image = reader.read();
  if (image.isNull()) error = reader.errorString();
  return image;
}

Backdrop::Backdrop(const Background& background, const QSize& size) : m_Background(background), m_Size(size) {
  QImage& image = m_Background.image;
  const QSize all = image.isNull() ? QSize() : covering(image, size);
  // Painting is good at making an image larger only.
  if (all.width() < image.width()) image = image.scaled(all, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
}

QImage Backdrop::part(const QRect& area) const {
  QImage part(area.size(), QImage::Format_RGB32);
  part.fill(m_Background.color);
  if (!m_Background.image.isNull()) {
    drawImage(part, area.topLeft());
  } else if (m_Background.top.isValid()) {
    for (int y = 0; y < area.height(); ++y) {
      const double share = (area.top() + y + 0.5) / m_Size.height();
      auto* row = reinterpret_cast<QRgb*>(part.scanLine(y));
      std::fill_n(row, area.width(), between(m_Background.top, m_Background.color, share));
    }
  }
  return part;
}

/// In the middle of what it is too large for.
void Backdrop::drawImage(QImage& part, const QPoint& at) const {
  QRectF target(QPointF(), covering(m_Background.image, m_Size));
  target.moveCenter(QRectF(QPointF(), m_Size).center());
  QPainter painter(&part);
  painter.setRenderHint(QPainter::SmoothPixmapTransform);
  painter.drawImage(target.translated(-at), m_Background.image);
}

}  // namespace nubo::scene
