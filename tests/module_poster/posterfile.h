// Reads posters as any program would.
#pragma once

#include <gtest/gtest.h>
#include <tiffio.h>

#include <QDir>
#include <QFileInfo>
#include <QImage>
#include <cmath>
#include <memory>
#include <vector>

namespace nubo::test {

inline void paste(QImage& target, QPoint corner, const QImage& pixels) {
  for (int y = 0; y < pixels.height() && corner.y() + y < target.height(); ++y)
    for (int x = 0; x < pixels.width() && corner.x() + x < target.width(); ++x)
      target.setPixel(corner.x() + x, corner.y() + y, pixels.pixel(x, y));
}

/// A TIFF's directories, each an image with straight alpha.
inline std::vector<QImage> readTiff(const QString& fileName) {
  std::vector<QImage> levels;
  const std::unique_ptr<TIFF, void (*)(TIFF*)> file(TIFFOpen(QFile::encodeName(fileName).constData(), "r"), TIFFClose);
  if (!file) return levels;
  do {
    uint32_t width = 0, height = 0, edge = 0, kind = 0;
    uint16_t extras = 0, *extra = nullptr;
    TIFFGetField(file.get(), TIFFTAG_SUBFILETYPE, &kind);
    EXPECT_EQ(kind, levels.empty() ? 0U : FILETYPE_REDUCEDIMAGE);
    EXPECT_TRUE(TIFFGetField(file.get(), TIFFTAG_EXTRASAMPLES, &extras, &extra) && *extra == EXTRASAMPLE_UNASSALPHA);
    TIFFGetField(file.get(), TIFFTAG_IMAGEWIDTH, &width);
    TIFFGetField(file.get(), TIFFTAG_IMAGELENGTH, &height);
    TIFFGetField(file.get(), TIFFTAG_TILEWIDTH, &edge);
    QImage level(QSize{int(width), int(height)}, QImage::Format_ARGB32);
    QImage tile(QSize{int(edge), int(edge)}, QImage::Format_RGBA8888);
    for (uint32_t y = 0; y < height; y += edge)
      for (uint32_t x = 0; x < width; x += edge) {
        EXPECT_GT(TIFFReadTile(file.get(), tile.bits(), x, y, 0, 0), 0);
        paste(level, {int(x), int(y)}, tile);
      }
    levels.push_back(level);
  } while (TIFFReadDirectory(file.get()));
  return levels;
}

/// A pyramid's levels, the largest first.
inline std::vector<QImage> readPyramid(const QString& fileName, QSize size, int edge, const QString& suffix) {
  std::vector<QImage> levels;
  const QFileInfo file(fileName);
  const QDir folder(file.path() + '/' + file.completeBaseName() + "_files");
  const int count = folder.entryList(QDir::Dirs | QDir::NoDotAndDotDot).size();
  for (int number = count - 1; number >= 0; --number) {
    QImage level(size, QImage::Format_ARGB32);
    for (int y = 0; y < size.height(); y += edge)
      for (int x = 0; x < size.width(); x += edge) {
        const QImage tile(
            folder.filePath(QStringLiteral("%1/%2_%3.%4").arg(number).arg(x / edge).arg(y / edge).arg(suffix)));
        EXPECT_EQ(tile.size(), QSize(std::min(edge, size.width() - x), std::min(edge, size.height() - y)));
        paste(level, {x, y}, tile);
      }
    levels.push_back(level);
    size = {(size.width() + 1) / 2, (size.height() + 1) / 2};
  }
  return levels;
}

/// Whether a level is what the one above says: each pixel the mean of four, weighted by what they cover.
inline void expectHalf(const QImage& half, const QImage& whole) {
  ASSERT_EQ(half.size(), QSize((whole.width() + 1) / 2, (whole.height() + 1) / 2));
  int wrong = 0;
  for (int y = 0; y < half.height(); ++y)
    for (int x = 0; x < half.width(); ++x) {
      double sums[4]{}, plain[4]{};
      for (int i = 0; i < 4; ++i) {
        const QRgb pixel =
            whole.pixel(std::min(2 * x + i % 2, whole.width() - 1), std::min(2 * y + i / 2, whole.height() - 1));
        const double channels[]{double(qRed(pixel)), double(qGreen(pixel)), double(qBlue(pixel)), 1};
        for (int c = 0; c < 4; ++c) {
          sums[c] += channels[c] * qAlpha(pixel);
          plain[c] += channels[c];
        }
      }
      const double* colour = sums[3] > 0 ? sums : plain;
      const auto mean = [&](int c) { return int(std::lround(colour[c] / colour[3])); };
      wrong += half.pixel(x, y) != qRgba(mean(0), mean(1), mean(2), int(std::lround(sums[3] / 4)));
    }
  EXPECT_EQ(wrong, 0) << "of " << half.width() << " x " << half.height();
}

}  // namespace nubo::test
