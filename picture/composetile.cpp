#include "picture/composetile.h"

#include <QtEndian>
#include <cstring>

namespace nubo::picture {

namespace {

using RowCopy = void (*)(uchar* to, const QRgb* from, int count);

void copyPlain(uchar* to, const QRgb* from, int count) { std::memcpy(to, from, std::size_t(count) * sizeof(QRgb)); }

void copyOpaque(uchar* to, const QRgb* from, int count) {
  auto* pixels = reinterpret_cast<QRgb*>(to);
  for (int i = 0; i < count; ++i) pixels[i] = from[i] | 0xff000000u;
}

/// 0xAARRGGBB to the bytes red, green, blue, alpha; `Or` sets bits beforehand.
template <QRgb Or>
void copyBytes(uchar* to, const QRgb* from, int count) {
  for (int i = 0; i < count; ++i) {
    const QRgb value = from[i] | Or;
    qToBigEndian<QRgb>((value << 8) | (value >> 24), to + 4 * std::size_t(i));
  }
}

/// Null: the format needs the way through single pixels.
RowCopy rowCopyTo(QImage::Format format) {
  switch (format) {
    case QImage::Format_ARGB32:
    case QImage::Format_ARGB32_Premultiplied:
      return copyPlain;
    case QImage::Format_RGB32:
      return copyOpaque;
    case QImage::Format_RGBA8888:
    case QImage::Format_RGBA8888_Premultiplied:
      return copyBytes<0>;
    case QImage::Format_RGBX8888:
      return copyBytes<0xff000000u>;
    default:
      return nullptr;
  }
}

bool holdsPlainPixels(QImage::Format format) {
  return format == QImage::Format_ARGB32 || format == QImage::Format_ARGB32_Premultiplied;
}

void composeByPixels(QImage* target, const QImage& tile, int x0, int y0,
                     const std::function<void(int x, int y)>& outside) {
  for (int x = 0; x < tile.width(); ++x) {
    const int tx = x0 + x;
    for (int y = 0; y < tile.height(); ++y) {
      const int ty = y0 + y;
      if (tx >= target->width() || ty >= target->height()) {
        outside(tx, ty);
        break;
      }
      target->setPixel(tx, ty, tile.pixel(x, y));
    }
  }
}

}  // namespace

void composeTile(QImage* target, const QImage& tile, int x0, int y0, const std::function<void(int x, int y)>& outside) {
  const bool fits = x0 + tile.width() <= target->width() && y0 + tile.height() <= target->height();
  const RowCopy copy = holdsPlainPixels(tile.format()) ? rowCopyTo(target->format()) : nullptr;
  if (!fits || !copy) {
    composeByPixels(target, tile, x0, y0, outside);
    return;
  }
  for (int y = 0; y < tile.height(); ++y)
    copy(target->scanLine(y0 + y) + 4 * std::size_t(x0), reinterpret_cast<const QRgb*>(tile.constScanLine(y)),
         tile.width());
}

}  // namespace nubo::picture
