#include <set>

#include "looksfixture.h"
#include "module_scene/mesh/featureedges.h"
#include "module_scene/mesh/preparation.h"

namespace nubo::scene {
namespace {

TEST_F(LooksTest, EdgesAreCreasesAndBordersEachOnce) {
  const auto flat = [](double, double) { return 0.0; };
  const auto folded = [](double u, double) { return std::abs(u - 0.5); };
  const auto sheet = [](const std::function<double(double, double)>& height) {
    return MeshBuilder(nullptr)
        .sheet(4,
               [&](double u, double v) {
                 return math::Vector3{u, v, height(u, v)};
               })
        .finish();
  };
  struct Row {
    const char* name;
    GeometryPointer faces;
    std::size_t lines;
  };
  const Row rows[] = {
      {"box", MeshBuilder(nullptr).box({0, 0, 0}, {1, 2, 3}).finish(), 12},
      {"sphere", MeshBuilder(nullptr).sphere({0, 0, 0}, 1).finish(), 0},
      {"disc on a rod", MeshBuilder(nullptr).turned({{0, 0}, {1, 0}, {1, 1}, {0, 1}}, false, 64).finish(),
       std::size_t{2} * 64},
      {"flat sheet", sheet(flat), 16},
      {"folded sheet", sheet(folded), 16 + 4},
  };
  for (const Row& row : rows) {
    const GeometryPointer lines = featureEdges(*row.faces);
    EXPECT_EQ(lines ? lines->primitiveCount() : 0, row.lines) << row.name;
    EXPECT_EQ(featureEdges(*row.faces), lines) << "found once";
  }
}

// Not dotted by the faces on which they lie, and not broken where tiles meet.
TEST_F(LooksTest, EdgesOfABoxAreUnbrokenLines) {
  const GeometryPointer box = MeshBuilder(nullptr).box({-0.5, -0.5, -0.5}, {0.5, 0.5, 0.5}).finish();
  for (const char* view : {"oblique", "20,-35", "75,8"}) {
    gui::Camera camera;
    ASSERT_TRUE(camera.setView(view));
    Shot shot;
    shot.root = element({box});
    shot.transform = camera.transform();
    shot.look = Look::Technical;
    shot.width = shot.height = 600;
    shot.samples = 4;
    const QImage picture = drawTiled(shot, 100);
    const math::Vector3 eye = math::transformPoint(math::affineInverse(shot.transform), {0, 0, 0});
    const auto isSeen = [&](int axis, double side) { return side * eye[std::size_t(axis)] > 0.5; };
    for (int edge = 0; edge < 12; ++edge) {
      const int along = edge / 4, across = (along + 1) % 3, up = (along + 2) % 3;
      math::Vector3 p{};
      p[std::size_t(across)] = edge % 2 ? 0.5 : -0.5;
      p[std::size_t(up)] = edge / 2 % 2 ? 0.5 : -0.5;
      if (!isSeen(across, 2 * p[std::size_t(across)]) && !isSeen(up, 2 * p[std::size_t(up)])) continue;
      for (int i = 0; i <= 200; ++i) {
        p[std::size_t(along)] = i / 200.0 - 0.5;
        const QPoint at = pixelOf(shot, p);
        int darkest = 255;
        for (int dy = -1; dy <= 1; ++dy)
          for (int dx = -1; dx <= 1; ++dx) {
            const QRgb pixel = picture.pixel(at.x() + dx, at.y() + dy);
            darkest = std::min(darkest, 255 - qAlpha(pixel) * (255 - qRed(pixel)) / 255);
          }
        ASSERT_LT(darkest, 110) << view << ", edge " << edge << ", place " << i;
      }
    }
    EXPECT_GT(qRed(picture.pixel(pixelOf(shot, {0, -0.5, 0}))), 200) << "faces are white";
  }
}

TEST_F(LooksTest, SmoothShapesHaveAnOutlineInAnyTilesAndAtAnySize) {
  Shot shot = shotFromFront(element({MeshBuilder(nullptr).sphere({0, 0, 0}, 0.8).finish()}));
  shot.look = Look::Technical;
  shot.samples = 4;
  for (const int size : {256, 768}) {
    shot.width = shot.height = size;
    const QImage picture = draw(shot);
    SCOPED_TRACE(size);
    std::set<int> shares;
    for (int y = 0; y < size; ++y)
      for (int x = 0; x < size; ++x) shares.insert(qAlpha(picture.pixel(x, y)));
    EXPECT_GT(shares.size(), 8u) << "so thin a line has more than 4 samples";
    const double distance = -shot.transform(2, 3);
    const double radius = size / 2.0 * std::tan(std::asin(0.8 / distance)) / std::tan(0.40391905546154483);
    int broken = 0;
    for (int degree = 0; degree < 360; ++degree) {
      const double x = std::cos(degree * M_PI / 180), y = std::sin(degree * M_PI / 180);
      int darkest = 255;
      for (double r = radius - 2.5 - 0.01 * size; r <= radius + 1.5; r += 0.25) {
        const QRgb pixel = picture.pixel(int(size / 2.0 + r * x), int(size / 2.0 + r * y));
        darkest = std::min(darkest, 255 - qAlpha(pixel) * (255 - qRed(pixel)) / 255);
      }
      broken += darkest > 150;
      const double inside = 0.9 * radius;
      ASSERT_GT(qRed(picture.pixel(int(size / 2.0 + inside * x), int(size / 2.0 + inside * y))), 150) << degree;
    }
    EXPECT_LE(broken, 10) << "of 360";
    for (const int edge : {100, 37}) {
      const test::Difference difference = compare(drawTiled(shot, edge), picture);
      EXPECT_LE(difference.changed, 3 + difference.edges / 128) << edge << ": " << difference;
    }
  }
}

TEST_F(LooksTest, EachPartHasTheOutlineThatItHasAlone) {
  const GeometryPointer egg = MeshBuilder(nullptr).sphere({0, 0, 0}, 1).finish();
  const Element all(new SceneElement);
  for (const double x : {-0.6, 0.0, 0.6}) {
    all->addChild(element({egg}));
    all->getChildren().back()->setTransform(math::translation(x, 0, 0) * math::rotation(x, {0, 1, 0}) *
                                            math::scaling(0.12, 0.2, 0.3));
  }
  Shot shot = shotFromFront(all);
  shot.look = Look::Technical;
  shot.samples = 0;
  const QImage together = draw(shot);
  for (const auto& part : all->getChildren()) {
    shot.root = part;
    const QImage alone = draw(shot);
    int black = 0;
    for (int y = 0; y < alone.height(); ++y)
      for (int x = 0; x < alone.width(); ++x) {
        const QRgb pixel = alone.pixel(x, y);
        black += pixel == qRgb(0, 0, 0);
        ASSERT_TRUE(qAlpha(pixel) == 0 || pixel == together.pixel(x, y)) << x << ' ' << y;
      }
    EXPECT_GT(black, 30);
  }
}

}  // namespace
}  // namespace nubo::scene
