#include "module_scene/draw/miplevels.h"

#include <algorithm>
#include <cstdint>

namespace nubo::scene {

namespace {

bool isPowerOfTwo(int number) { return number > 0 && (number & (number - 1)) == 0; }

/// Of each of four bytes, rounded up.
std::uint32_t mean(std::uint32_t a, std::uint32_t b) { return (a | b) - (((a ^ b) >> 1) & 0x7f7f7f7fu); }

const std::uint32_t* rowOf(const QImage& image, int y) {
  return reinterpret_cast<const std::uint32_t*>(image.constScanLine(std::min(y, image.height() - 1)));
}

}  // namespace

bool halvesEvenly(const QSize& size) { return isPowerOfTwo(size.width()) && isPowerOfTwo(size.height()); }

QImage halved(const QImage& image) {
  QImage result(std::max(1, image.width() / 2), std::max(1, image.height() / 2), QImage::Format_RGBA8888);
  const int right = image.width() > 1 ? 1 : 0;  // of what is one pixel wide all are their own neighbours
  for (int y = 0; y < result.height(); ++y) {
    const std::uint32_t *upper = rowOf(image, 2 * y), *lower = rowOf(image, 2 * y + 1);
    auto* means = reinterpret_cast<std::uint32_t*>(result.scanLine(y));
    for (int x = 0; x < result.width(); ++x, upper += 2, lower += 2)
      means[x] = mean(mean(upper[0], upper[right]), mean(lower[0], lower[right]));
  }
  return result;
}

}  // namespace nubo::scene
