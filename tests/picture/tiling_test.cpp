// Tiles and their frusta, which are pure arithmetic, and the memory of pictures.
#include "picture/tiling.h"

#include <gtest/gtest.h>

#include <vector>

#include "picture/hugepages.h"

namespace nubo::picture {
namespace {

TEST(Tiling, TilesFollowEachOtherFromTheLowerLeftAndFrustaMeet) {
  struct Row {
    int width, height, edge, tiles;
  };
  for (const auto& [width, height, edge, tiles] :
       {Row{1000, 600, 512, 4}, Row{1024, 1024, 512, 4}, Row{1000, 1200, 512, 6}, Row{2, 2, 512, 1},
        Row{1000, 600, 256, 12}, Row{513, 511, 512, 2}, Row{7, 1537, 512, 4}, Row{0, 9, 512, 0}, Row{9, 0, 512, 0}}) {
    SCOPED_TRACE(::testing::Message() << width << " x " << height << ", " << edge);
    const TileGrid grid(width, height, edge);
    ASSERT_EQ(grid.count(), tiles);
    const Frustum picture = pictureFrustum(width, height, 0.1);
    const double pixel = (picture.top - picture.bottom) / height;
    int x = 0, y = 0;  // where the next tile begins
    for (int i = 0; i < tiles; ++i) {
      const Tile tile = grid.tile(i);
      ASSERT_EQ(std::make_pair(tile.x0, tile.y0), std::make_pair(x, y));
      ASSERT_TRUE(tile.width > 0 && tile.width <= edge && tile.height > 0 && tile.height <= edge);
      // Rows are counted from below for OpenGL and from above in the picture.
      EXPECT_EQ(tile.targetRow + tile.height + tile.y0, height);
      const Frustum part = tileFrustum(tile, picture, width, height);
      EXPECT_NEAR(part.left, (x - width / 2.0) * pixel, 1e-12);
      EXPECT_NEAR(part.right, part.left + tile.width * pixel, 1e-12);
      EXPECT_NEAR(part.bottom, (y - height / 2.0) * pixel, 1e-12);
      EXPECT_NEAR(part.top, part.bottom + tile.height * pixel, 1e-12);
      x = (x + tile.width) % width;
      if (x == 0) y += tile.height;
    }
    EXPECT_TRUE(tiles == 0 || (x == 0 && y == height));
  }
}

TEST(Tiling, OpensLessThanFortySevenDegrees) {
  const double degrees = 2 * std::atan(pictureFrustum(100, 100, 2.0).top / 2.0) * 180 / 3.14159265358979323846;
  EXPECT_NEAR(degrees, 324.0 / 7.0, 1e-9);
}

TEST(Tiling, TilesAreAsLargeAsTexturesMayBe) {
  for (const auto& [largest, edge] : {std::pair{16384, 512}, {512, 512}, {256, 256}, {0, 512}, {-1, 512}})
    EXPECT_EQ(tileEdge(largest), edge) << largest;
}

TEST(PagesAhead, LeavesWhatIsThereAsItIs) {
  std::vector<std::uint32_t> memory(std::size_t(10) << 20);
  const auto fill = [&](std::size_t from) {
    for (std::size_t i = from; i < memory.size(); i += 2) memory[i] = std::uint32_t(i * i + 1);
  };
  fill(0);
  {
    const PagesAhead pages(memory.data(), memory.size() * sizeof memory[0]);
    fill(1);
  }
  for (std::size_t i = 0; i < memory.size(); ++i) ASSERT_EQ(memory[i], std::uint32_t(i * i + 1));
  const PagesAhead none(memory.data(), 1);
}

}  // namespace
}  // namespace nubo::picture
