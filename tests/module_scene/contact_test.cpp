#include <QOpenGLFunctions>

#include "looksfixture.h"
#include "module_scene/mesh/preparation.h"

namespace nubo::scene {
namespace {

Shot boxOnAFloor(double height = 0.5) {
  Shot shot = shotFromFront(element({MeshBuilder(nullptr).box({-1, -1, -0.1}, {1, 1, 0}).finish(),
                                     MeshBuilder(nullptr).box({-0.4, -0.4, 0}, {0.4, 0.4, height}).finish()}));
  gui::Camera camera;
  camera.elevation = 60;
  shot.transform = camera.transform();
  shot.contact = true;
  return shot;
}

TEST_F(LooksTest, SurfacesThatMeetTakeEachOtherLight) {
  Shot shot = boxOnAFloor(), without = shot;
  without.contact = false;
  for (const Look look : {Look::Studio, Look::Clay, Look::Plain, Look::Technical}) {
    shot.look = without.look = look;
    const QImage picture = draw(shot), open = draw(without);
    const auto lost = [&](const math::Vector3& point) {
      const QPoint pixel = pixelOf(shot, point);
      return qRed(open.pixel(pixel)) - qRed(picture.pixel(pixel));
    };
    SCOPED_TRACE(nameOf(look).toStdString());
    if (look == Look::Plain || look == Look::Technical) {
      EXPECT_EQ(compare(picture, open).greatest, 0);
      continue;
    }
    const int inTheCorner = lost({0.2, -0.43, 0}), beside = lost({0.2, -0.55, 0});
    EXPECT_THAT(inTheCorner, ::testing::AllOf(::testing::Gt(20), ::testing::Lt(120)));
    EXPECT_GT(inTheCorner, beside + 5);
    EXPECT_LE(lost({0, -0.9, 0}), 2) << "far from the box";
    EXPECT_LE(lost({0, 0, 0.5}), 1) << "on top of it";
  }
}

TEST_F(LooksTest, WhatIsLeftOutTakesNoLight) {
  const Shot without = boxOnAFloor();
  const MaterialPointer leaf = physical([](PhysicalMaterial& m) { m.baseColor[3] = 0.2f; });
  leaf->alphaMode = AlphaMode::Mask;
  leaf->diffuse[3] = 0.2f;
  Shot with = without;
  with.root = element({MeshBuilder(leaf).box({0.5, -1, 0.02}, {1, 1, 0.03}).finish()});
  with.root->addChild(without.root);
  EXPECT_EQ(draw(with), draw(without));
}

// The map's texels are some pixels wide in a large picture, and at an edge some of those around a pixel are another
// surface's: of the floor beside a box, which is darker, or of the bottom of a groove far behind, which is darkest.
TEST_F(LooksTest, SurfacesTakeNoLightFromBesideTheirEdges) {
  const Shot box = boxOnAFloor(0.1);
  Shot groove = shotFromFront(element({MeshBuilder(nullptr).box({-1, 0.5, -1}, {1, 1, 0.365}).finish(),
                                       MeshBuilder(nullptr).box({-1, 0.5, 0.49}, {1, 1, 1}).finish(),
                                       MeshBuilder(nullptr).box({-1, 0.8, -1}, {1, 1, 1}).finish(),
                                       MeshBuilder(nullptr).box({-0.4, -0.6, -0.3}, {0.4, -0.5, 0.3}).finish()}));
  groove.contact = true;
  groove.transform = math::rotation(0.1, {0, 0, 1}) * groove.transform;  // so that texels lie in many ways at the edge
  std::vector<math::Vector3> onTop, inFront;
  for (int i = -35; i <= 35; ++i) {
    for (const double y : {0.398, -0.398}) onTop.push_back({i * 0.01, y, 0.1});
    inFront.push_back({i * 0.01, -0.6, 0.299});
  }
  for (const auto& [scene, points] : {std::pair(box, onTop), {groove, inFront}}) {
    Shot shot = scene;
    shot.width = shot.height = 1600;
    const QImage picture = draw(shot);
    shot.contact = false;
    const QImage open = draw(shot);
    for (const math::Vector3& point : points) {
      const QPoint pixel = pixelOf(shot, point);
      EXPECT_NEAR(qRed(picture.pixel(pixel)), qRed(open.pixel(pixel)), 2) << point[0] << ' ' << point[1];
    }
  }
}

/// Points of a plane from the left to `right`, of which the left half lies higher.
GeometryPointer ledge(int right) {
  GeometryPointer cloud(new Geometry);
  cloud->kind = KindPoints;
  for (int x = -100; x <= right; ++x)
    for (int y = -100; y <= 100; ++y) {
      const float place[]{float(x) / 100, float(y) / 100, x < 0 ? 0.3f : 0.0f};
      cloud->indices.push_back(std::uint32_t(cloud->vertexCount()));
      cloud->positions.insert(cloud->positions.end(), place, place + 3);
    }
  cloud->width = 6;
  prepare(*cloud);
  return cloud;
}

TEST_F(LooksTest, PointsShadeThePointsBehindThemAndNoSurface) {
  Shot shot;
  shot.look = Look::Studio;
  shot.contact = true;
  const auto level = [&](const QImage& picture, const math::Vector3& point) {
    return qRed(picture.pixel(pixelOf(shot, point)));
  };
  shot.root = element({ledge(100)});
  const QImage points = draw(shot);
  const int open = level(points, {0.6, 0, 0});
  EXPECT_LT(level(points, {0.02, 0, 0}), open - 30) << "below the ledge";
  EXPECT_NEAR(level(points, {-0.5, 0, 0.3}), open, 2) << "on it";

  const GeometryPointer floor = MeshBuilder(nullptr).box({-1, -1, -0.1}, {1, 1, 0}).finish();
  shot.root = element({floor});
  const QImage bare = draw(shot);
  shot.root = element({floor, ledge(-1)});
  const QImage below = draw(shot);
  for (const double x : {0.04, 0.1, 0.3}) EXPECT_NEAR(level(below, {x, 0, 0}), level(bare, {x, 0, 0}), 1) << x;
}

TEST_F(LooksTest, ContactIsTheSameInTilesAndAtAnySize) {
  Shot shot = boxOnAFloor();
  gui::Camera parallel;
  parallel.orthographic = true;
  parallel.distance = 2.2;
  for (const math::Matrix4& transform : {shot.transform, parallel.viewTransform()}) {
    shot.transform = transform;
    for (const bool smooth : {false, true}) {
      shot.samples = smooth ? 4 : 0;
      shot.ground = smooth;
      const QImage whole = draw(shot);
      for (const int edge : {100, 37}) {
        const test::Difference difference = compare(drawTiled(shot, edge), whole);
        EXPECT_LE(difference.changed, 3 + difference.edges / 256) << edge << ": " << difference;
      }
    }
    Shot large = shot;
    large.width = large.height = 4 * shot.width;
    const QImage small = draw(shot), reduced = test::quarter(draw(large));
    EXPECT_LT(meanDistance(small, reduced), 3);
  }
}

TEST_F(LooksTest, AGroundIsNothingButAShadowThatComposesOverAnyPage) {
  Shot shot = shotFromFront(element({MeshBuilder(nullptr).box({-0.4, -0.4, 0}, {0.4, 0.4, 0.5}).finish()}));
  gui::Camera camera;
  camera.elevation = 35;
  shot.transform = camera.transform();
  for (const Look look : {Look::Studio, Look::Plain})
    for (const int samples : {0, 4}) {
      SCOPED_TRACE(::testing::Message() << nameOf(look).toStdString() << ", " << samples << " samples");
      shot.look = look;
      shot.samples = samples;
      shot.ground = false;
      const QImage without = draw(shot);
      shot.ground = true;
      const QImage picture = draw(shot);
      const auto at = [&](double distance) { return picture.pixel(pixelOf(shot, {0, -0.4 - distance, 0})); };
      EXPECT_THAT(qAlpha(at(0.03)), ::testing::AllOf(::testing::Gt(60), ::testing::Lt(170)));
      EXPECT_GT(qAlpha(at(0.03)), qAlpha(at(0.2)) + 15);
      EXPECT_GT(qAlpha(at(0.2)), 3);
      for (int y = 0; y < picture.height(); ++y)
        for (int x = 0; x < picture.width(); ++x) {
          const QRgb pixel = picture.pixel(x, y), before = without.pixel(x, y);
          if (qAlpha(before) == 255) {
            ASSERT_EQ(pixel, before) << x << ", " << y;
          } else if (qAlpha(before) == 0 && qAlpha(pixel) > 0) {
            ASSERT_EQ(pixel & RGB_MASK, 0u) << x << ", " << y;
          }
        }
      for (const int edge : {100, 37}) EXPECT_LE(compare(drawTiled(shot, edge), picture).changed, 3) << edge;
    }
  const QColor background = viewer.getGlobalScene()->getBackgroundColor();
  const QRgb shadow = draw(shot).pixel(pixelOf(shot, {0, -0.43, 0}));
  shot.layers = 65535;
  const QRgb blended = draw(shot).pixel(pixelOf(shot, {0, -0.43, 0}));
  EXPECT_EQ(qAlpha(blended), qAlpha(shadow));
  EXPECT_NEAR(qGreen(blended), background.green() * (255 - qAlpha(shadow)) / 255.0, 1);
  camera.elevation = -35;
  shot.transform = camera.transform();
  const QImage below = draw(shot);
  shot.ground = false;
  EXPECT_EQ(compare(below, draw(shot)).greatest, 0) << "from below";
}

TEST_F(LooksTest, WhatWasFoundForAViewIsNotUsedForAnother) {
  Shot before = boxOnAFloor(), after = before;
  before.root->addGeometry(MeshBuilder(nullptr).sphere({0.7, 0.7, 0.2}, 0.2).finish());
  gui::Camera camera;
  camera.azimuth = 120;
  camera.elevation = 35;
  after.transform = camera.transform();
  SceneDrawer drawer(viewer.getGlobalScene());
  for (const Look look : {Look::Studio, Look::Technical}) {
    before.look = after.look = look;
    drawPart(drawer, before, 0, 0, before.width, before.height);
    const test::Difference difference = compare(drawPart(drawer, after, 0, 0, after.width, after.height), draw(after));
    EXPECT_EQ(difference.greatest, 0) << nameOf(look).toStdString() << ": " << difference;
  }
}

}  // namespace
}  // namespace nubo::scene
