#include "module_scene/graph/material.h"

#include <algorithm>

namespace nubo::scene {

namespace {

bool hasTransparentPixel(const QImage& image) {
  if (!image.hasAlphaChannel()) return false;
  const QImage pixels = image.convertToFormat(QImage::Format_ARGB32);
  for (int y = 0; y < pixels.height(); ++y) {
    const QRgb* row = reinterpret_cast<const QRgb*>(pixels.constScanLine(y));
    if (std::any_of(row, row + pixels.width(), [](QRgb pixel) { return qAlpha(pixel) < 255; })) return true;
  }
  return false;
}

}  // namespace

Texture::Texture(const QImage& image, bool repeat)
    : m_Image(image), m_Repeat(repeat), m_Transparent(hasTransparentPixel(image)) {}

}  // namespace nubo::scene
