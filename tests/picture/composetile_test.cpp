// Composing a tile must give what reading and setting each pixel gives, whatever the image formats.
#include "picture/composetile.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <utility>
#include <vector>

namespace nubo::picture {
namespace {

/// Pixels of all kinds, also colours that no premultiplied image should hold.
QImage randomTile(QImage::Format format) {
  QImage tile(37, 23, QImage::Format_ARGB32);
  std::mt19937 generator(7);
  for (int y = 0; y < tile.height(); ++y)
    for (int x = 0; x < tile.width(); ++x) tile.setPixel(x, y, QRgb(generator()));
  if (format == QImage::Format_ARGB32) return tile;
  tile.reinterpretAsFormat(QImage::Format_ARGB32_Premultiplied);
  return format == QImage::Format_ARGB32_Premultiplied ? tile : tile.convertToFormat(format);
}

QImage blankTarget(QImage::Format format) {
  QImage target(64, 48, format);
  if (format == QImage::Format_Indexed8) target.setColorCount(256);
  if (format == QImage::Format_Mono || format == QImage::Format_MonoLSB) target.setColorCount(2);
  std::memset(target.bits(), 0x5a, std::size_t(target.sizeInBytes()));
  return target;
}

std::vector<std::uint8_t> bytesOf(const QImage& image) {
  return {image.constBits(), image.constBits() + image.sizeInBytes()};
}

TEST(ComposeTile, EqualsSettingEachPixelForEveryFormat) {
  // Indexed and mono images refuse colours with a warning; they must be refused in the same way.
  const auto previous = qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
  for (const QImage::Format tileFormat :
       {QImage::Format_ARGB32_Premultiplied, QImage::Format_ARGB32, QImage::Format_RGB32, QImage::Format_RGBA8888}) {
    const QImage tile = randomTile(tileFormat);
    for (int format = QImage::Format_Mono; format < QImage::NImageFormats; ++format) {
      QImage expected = blankTarget(QImage::Format(format));
      QImage actual = expected.copy();
      const QImage kept = actual;  // by another holder of the same pixels
      for (int x = 0; x < tile.width(); ++x)
        for (int y = 0; y < tile.height(); ++y) expected.setPixel(11 + x, 13 + y, tile.pixel(x, y));
      composeTile(&actual, tile, 11, 13, [](int, int) { ADD_FAILURE() << "the tile fits"; });
      EXPECT_EQ(bytesOf(actual), bytesOf(expected)) << "tile format " << tileFormat << ", target format " << format;
      EXPECT_EQ(bytesOf(kept), bytesOf(blankTarget(QImage::Format(format))));
    }
  }
  qInstallMessageHandler(previous);
}

TEST(ComposeTile, ReportsEachColumnThatLeavesTheTargetAndCopiesTheRest) {
  const QImage tile = randomTile(QImage::Format_ARGB32_Premultiplied);
  QImage target = blankTarget(QImage::Format_ARGB32);
  std::vector<std::pair<int, int>> outside;
  composeTile(&target, tile, 64 - 30, 48 - 10, [&](int x, int y) { outside.emplace_back(x, y); });
  // 30 columns leave below the last row, the other 7 lie right of the last column.
  ASSERT_EQ(outside.size(), 37u);
  EXPECT_EQ(outside.front(), std::make_pair(34, 48));
  EXPECT_EQ(outside.back(), std::make_pair(34 + 36, 38));
  EXPECT_EQ(target.pixel(63, 47), tile.pixel(29, 9));
  EXPECT_EQ(target.pixel(34, 38), tile.pixel(0, 0));
}

}  // namespace
}  // namespace nubo::picture
