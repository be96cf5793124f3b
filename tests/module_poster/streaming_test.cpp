// Large posters of known content, without drawing.
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <QTemporaryDir>

#include "module_poster/files/posterbuilder.h"
#include "picture/tiling.h"
#include "posterfile.h"

namespace nubo::poster {
namespace {

QRgb pixelAt(int x, int y) { return qRgba(x & 255, y & 255, ((x >> 8) * 31 + (y >> 8) * 17) & 255, (x >> 4) & 255); }

double megabytesAtMost() {
  rusage usage = {};
  getrusage(RUSAGE_SELF, &usage);
  return double(usage.ru_maxrss) / 1000;
}

void stream(const Description& description, const QString& file) {
  const auto sink = newSink(description, file);
  PosterBuilder builder(description, *sink, QFileInfo(file).path());
  const picture::TileGrid grid(description.size.width(), description.size.height(), picture::LargestTile);
  for (int i = 0; i < grid.count(); ++i) {
    const picture::Tile tile = grid.tile(i);
    QImage pixels(tile.width, tile.height, QImage::Format_ARGB32);
    for (int y = 0; y < tile.height; ++y)
      for (int x = 0; x < tile.width; ++x)
        reinterpret_cast<QRgb*>(pixels.scanLine(y))[x] = pixelAt(tile.x0 + x, tile.targetRow + y);
    builder.add(0, {tile.x0, tile.targetRow}, pixels);
  }
  builder.finishTiles();
  sink->commit();
}

TEST(Streaming, AWidePosterTakesNoMoreMemoryThanANarrowOne) {
  const QTemporaryDir folder;
  stream({{2000, 1300}, 512, {Coding::Zstd, 0, {}}}, folder.filePath("narrow.tif"));
  const double before = megabytesAtMost();
  const QString file = folder.filePath("wide.tif");
  stream({{40000, 1300}, 512, {Coding::Zstd, 0, {}}}, file);  // a row of tiles of which takes 82 MB, all 208 MB
  EXPECT_LT(megabytesAtMost() - before, 30);
  EXPECT_EQ(QDir(folder.path()).entryList(QDir::Files | QDir::Hidden).size(), 2) << "what waited is gone";
  const std::unique_ptr<TIFF, void (*)(TIFF*)> tiff(TIFFOpen(QFile::encodeName(file).constData(), "r"), TIFFClose);
  QImage tile(512, 512, QImage::Format_RGBA8888);
  for (const QPoint corner : {QPoint(0, 0), QPoint(39936, 1024), QPoint(20480, 512)}) {
    ASSERT_GT(TIFFReadTile(tiff.get(), tile.bits(), uint32_t(corner.x()), uint32_t(corner.y()), 0, 0), 0);
    for (const QPoint at : {QPoint(0, 0), QPoint(63, 200)})
      EXPECT_EQ(tile.convertToFormat(QImage::Format_ARGB32).pixel(at),
                pixelAt(corner.x() + at.x(), corner.y() + at.y()));
  }
}

}  // namespace
}  // namespace nubo::poster
