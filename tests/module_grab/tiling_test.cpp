// Tiles and their frusta: pure arithmetic.
#include "module_grab/commands/tiling.h"

#include <gtest/gtest.h>

#include <vector>

namespace nubo::commands::grab {
namespace {

struct PictureSize {
  int width;
  int height;
  int edge;
  int tiles;
};

class TilingTest : public ::testing::TestWithParam<PictureSize> {};

TEST_P(TilingTest, TilesCoverEveryPixelOnceAndFrustaMeet) {
  const auto [width, height, edge, tiles] = GetParam();
  const TileGrid grid(width, height, edge);
  ASSERT_EQ(grid.count(), tiles);
  const Frustum picture = pictureFrustum(width, height, 0.1);
  EXPECT_NEAR((picture.right - picture.left) * height, (picture.top - picture.bottom) * width, 1e-9 * width);
  std::vector<int> covered(std::size_t(width) * height, 0);
  for (int i = 0; i < grid.count(); ++i) {
    const Tile tile = grid.tile(i);
    ASSERT_LE(std::max(tile.width, tile.height), edge);
    // Rows are counted from below for OpenGL and from above in the picture.
    EXPECT_EQ(tile.targetRow + tile.height + tile.y0, height);
    for (int y = 0; y < tile.height; ++y)
      for (int x = 0; x < tile.width; ++x) ++covered[std::size_t(tile.targetRow + y) * width + tile.x0 + x];
    const Frustum part = tileFrustum(tile, picture, width, height);
    const double pixel = (picture.top - picture.bottom) / height;
    EXPECT_NEAR(part.left, picture.left + tile.x0 * pixel, 1e-12);
    EXPECT_NEAR(part.right, picture.left + (tile.x0 + tile.width) * pixel, 1e-12);
    EXPECT_NEAR(part.bottom, picture.bottom + tile.y0 * pixel, 1e-12);
    EXPECT_NEAR(part.top, picture.bottom + (tile.y0 + tile.height) * pixel, 1e-12);
  }
  for (const int count : covered) ASSERT_EQ(count, 1);
}

INSTANTIATE_TEST_SUITE_P(Sizes, TilingTest,
                         ::testing::Values(PictureSize{1000, 600, 512, 4}, PictureSize{1024, 1024, 512, 4},
                                           PictureSize{1000, 1200, 512, 6}, PictureSize{2, 2, 512, 1},
                                           PictureSize{1000, 600, 256, 12}, PictureSize{513, 511, 512, 2},
                                           PictureSize{7, 1537, 512, 4}));

TEST(Tiling, NumbersTilesFromTheLowerLeft) {
  const TileGrid grid(1000, 600, 512);
  const Tile second = grid.tile(1);
  EXPECT_EQ(second.x0, 512);
  EXPECT_EQ(second.targetRow, 88);
  EXPECT_EQ(second.width, 488);
  EXPECT_EQ(second.height, 512);
  const Tile third = grid.tile(2);
  EXPECT_EQ(third.x0, 0);
  EXPECT_EQ(third.targetRow, 0);
  EXPECT_EQ(third.width, 512);
  EXPECT_EQ(third.height, 88);
}

TEST(Tiling, OpensLessThanFortySevenDegrees) {
  const Frustum picture = pictureFrustum(100, 100, 2.0);
  const double degrees = 2 * std::atan(picture.top / 2.0) * 180 / 3.14159265358979323846;
  EXPECT_NEAR(degrees, 324.0 / 7.0, 1e-9);
}

TEST(Tiling, PictureWithoutPixelsHasNoTiles) {
  EXPECT_LT(TileGrid(0, 100, 512).count(), 1);
  EXPECT_LT(TileGrid(100, 0, 512).count(), 1);
}

}  // namespace
}  // namespace nubo::commands::grab
