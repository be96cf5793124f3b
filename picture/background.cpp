#include "picture/background.h"

#include <QPainter>
#include <algorithm>
#include <utility>

namespace nubo::picture {

QImage laidOver(const scene::Backdrop& backdrop, const QPoint& corner, const QImage& pixels) {
  QImage result = backdrop.part(QRect(corner, pixels.size()));
  QPainter(&result).drawImage(0, 0, pixels);
  return result;
}

QImage laidOver(const scene::Background& background, QImage picture) {
  constexpr int RowsAtOnce = 64;
  const scene::Backdrop backdrop(background, picture.size());
  for (int first = 0; first < picture.height(); first += RowsAtOnce) {
    const int count = std::min(RowsAtOnce, picture.height() - first);
    const QImage covering = QImage(std::as_const(picture).scanLine(first), picture.width(), count,
                                   int(picture.bytesPerLine()), picture.format());
    const QImage rows = laidOver(backdrop, QPoint(0, first), covering);
    for (int row = 0; row < rows.height(); ++row)
      std::copy_n(rows.constScanLine(row), rows.bytesPerLine(), picture.scanLine(first + row));
  }
  picture.reinterpretAsFormat(QImage::Format_RGB32);
  return picture;
}

}  // namespace nubo::picture
