#include "picture/background.h"

#include <QPainter>

namespace nubo::picture {

QImage laidOver(const QColor& background, const QImage& picture) {
  QImage result(picture.size(), QImage::Format_RGB32);
  if (result.isNull()) return picture;
  result.fill(background);
  QPainter(&result).drawImage(0, 0, picture);
  result.setDotsPerMeterX(picture.dotsPerMeterX());
  result.setDotsPerMeterY(picture.dotsPerMeterY());
  return result;
}

}  // namespace nubo::picture
