#include "picture/background.h"

#include <QPainter>
#include <algorithm>

namespace nubo::picture {

QImage laidOver(const scene::Background& background, QImage picture) {
  constexpr int RowsAtOnce = 64;
  const scene::Backdrop backdrop(background, picture.size());
  for (int first = 0; first < picture.height(); first += RowsAtOnce) {
    const QSize size(picture.width(), std::min(RowsAtOnce, picture.height() - first));
    QImage rows = backdrop.part(QRect(QPoint(0, first), size));
    QPainter(&rows).drawImage(0, 0, picture, 0, first);
    for (int row = 0; row < rows.height(); ++row)
      std::copy_n(rows.constScanLine(row), rows.bytesPerLine(), picture.scanLine(first + row));
  }
  picture.reinterpretAsFormat(QImage::Format_RGB32);
  return picture;
}

}  // namespace nubo::picture
