#include "module_poster/files/halve.h"

#include <algorithm>

namespace nubo::poster {

namespace {

QRgb mean(const QRgb (&pixels)[4]) {
  unsigned alpha = 0, covered[3]{}, plain[3]{};
  for (const QRgb pixel : pixels) {
    const unsigned a = unsigned(qAlpha(pixel));
    const unsigned colour[]{unsigned(qRed(pixel)), unsigned(qGreen(pixel)), unsigned(qBlue(pixel))};
    alpha += a;
    for (int c = 0; c < 3; ++c) {
      covered[c] += colour[c] * a;
      plain[c] += colour[c];
    }
  }
  int colour[3];
  for (int c = 0; c < 3; ++c) colour[c] = int(alpha > 0 ? (covered[c] + alpha / 2) / alpha : (plain[c] + 2) / 4);
  return qRgba(colour[0], colour[1], colour[2], int((alpha + 2) / 4));
}

}  // namespace

QImage halved(const QImage& picture) {
  const int width = picture.width(), height = picture.height();
  QImage half((width + 1) / 2, (height + 1) / 2, QImage::Format_ARGB32);
  for (int y = 0; y < half.height(); ++y) {
    const auto* upper = reinterpret_cast<const QRgb*>(picture.constScanLine(2 * y));
    const auto* lower = reinterpret_cast<const QRgb*>(picture.constScanLine(std::min(2 * y + 1, height - 1)));
    auto* row = reinterpret_cast<QRgb*>(half.scanLine(y));
    for (int x = 0; x < half.width(); ++x) {
      const int left = 2 * x, right = std::min(left + 1, width - 1);
      const QRgb pixels[]{upper[left], upper[right], lower[left], lower[right]};
      // Most of a picture is one colour beside another of the same.
      const bool areEqual = pixels[0] == pixels[1] && pixels[0] == pixels[2] && pixels[0] == pixels[3];
      row[x] = areEqual ? pixels[0] : mean(pixels);
    }
  }
  return half;
}

}  // namespace nubo::poster
