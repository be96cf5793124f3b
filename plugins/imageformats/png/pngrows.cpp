#include "plugins/imageformats/png/pngrows.h"

#include <QtEndian>
#include <cstring>

namespace nubo::png {
namespace {

bool isWide(QImage::Format format) {
  return format == QImage::Format_RGBX64 || format == QImage::Format_RGBA64 ||
         format == QImage::Format_RGBA64_Premultiplied || format == QImage::Format_Grayscale16;
}

// `wide` has four samples a pixel, of which the first `channels` are kept.
void copyWidePixels(const QImage& wide, int channels, uint8_t* out) {
  const auto* samples = reinterpret_cast<const quint16*>(wide.constBits());
  for (int x = 0; x < wide.width(); ++x)
    for (int channel = 0; channel < channels; ++channel, out += 2) qToBigEndian(samples[4 * x + channel], out);
}

}  // namespace

PixelLayout PixelLayout::of(const QImage& image) {
  const QImage::Format format = image.format();
  if (format == QImage::Format_Mono || format == QImage::Format_MonoLSB) return {Palette, 1};
  if (format == QImage::Format_Indexed8) return {image.isGrayscale() ? Gray : Palette, 8};
  if (format == QImage::Format_Grayscale8) return {Gray, 8};
  if (format == QImage::Format_Grayscale16) return {Gray, 16};
  return {image.hasAlphaChannel() ? Rgba : Rgb, uint8_t(isWide(format) ? 16 : 8)};
}

RowReader::RowReader(const QImage& image) : m_image(image), m_layout(PixelLayout::of(image)) {}

// A single row's conversion never goes to Qt's global thread pool, whose threads may all be waiting for this one.
QImage RowReader::row(int y) const {
  QImage row(m_image.constScanLine(y), m_image.width(), 1, m_image.bytesPerLine(), m_image.format());
  if (m_layout.colorType == PixelLayout::Palette) row.setColorTable(m_image.colorTable());
  return row;
}

void RowReader::read(int y, uint8_t* out) const {
  const auto convert = [this, y](QImage::Format format) { return row(y).convertToFormat(format); };
  const auto copy = [this, out](const uint8_t* bytes) { std::memcpy(out, bytes, m_layout.rowBytes(m_image.width())); };
  switch (m_image.format()) {
    case QImage::Format_Mono:
    case QImage::Format_Indexed8:
    case QImage::Format_Grayscale8:
    case QImage::Format_RGB888:
    case QImage::Format_RGBA8888:
      return copy(m_image.constScanLine(y));
    case QImage::Format_MonoLSB:
      return copy(convert(QImage::Format_Mono).constBits());
    case QImage::Format_Grayscale16:
      qToBigEndian<quint16>(m_image.constScanLine(y), m_image.width(), out);
      return;
    case QImage::Format_RGBX64:
    case QImage::Format_RGBA64:
      return copyWidePixels(row(y), m_layout.channels(), out);
    case QImage::Format_RGBA64_Premultiplied:
      return copyWidePixels(convert(QImage::Format_RGBA64), m_layout.channels(), out);
    case QImage::Format_RGB32:
    case QImage::Format_RGBX8888:
    case QImage::Format_BGR888:
      return copy(convert(QImage::Format_RGB888).constBits());
    case QImage::Format_ARGB32:
      return copy(convert(QImage::Format_RGBA8888).constBits());
    default:
      // By way of the 32-bit formats, as in Qt's writer: other ways round differently.
      if (m_layout.colorType == PixelLayout::Rgba)
        return copy(convert(QImage::Format_ARGB32).convertToFormat(QImage::Format_RGBA8888).constBits());
      return copy(convert(QImage::Format_RGB32).convertToFormat(QImage::Format_RGB888).constBits());
  }
}

}  // namespace nubo::png
