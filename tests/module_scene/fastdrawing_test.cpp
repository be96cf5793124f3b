// What is left out, coarse, or drawn in parts shows what the whole shows.
#include <future>
#include <numeric>
#include <tuple>

#include "drawerfixture.h"
#include "module_scene/draw/drawingturn.h"
#include "module_scene/mesh/coarsening.h"

namespace nubo::scene {
namespace {

// Takes away what lets the drawer leave some out.
GeometryPointer drawnWhole(const GeometryPointer& geometry) {
  geometry->closed = false;
  for (Cluster& cluster : geometry->clusters) {
    cluster.min.fill(-1e6f);
    cluster.max.fill(1e6f);
  }
  return geometry;
}

TEST_F(DrawerTest, LeavingOutWhatCannotBeSeenChangesNoPixel) {
  const std::pair<const char*, math::Matrix4> views[] = {
      {"outside", math::translation(0, 0, -3)},
      {"turned", math::translation(0.2, -0.1, -2) * math::rotation(1.1, {0.6, 0.8, 0})},
      {"mirrored", math::translation(0, 0, -3) * math::scaling(-1, 1, 1)},
      {"stretched", math::translation(0, 0, -3) * math::rotation(0.4, {1, 0, 0}) * math::scaling(1, 0.3, 1.6)},
      {"beside the middle", math::translation(0.9, 1.1, -2.2)},
      {"from the inside", math::translation(0.1, 0, -0.3)},
      {"cut open by the near plane", math::translation(0, 0, -1.02)},
      {"partly beyond the far plane", math::translation(0, 0, -100.2)}};
  // The smooth ball's clusters each look one way, so that many may be left out; the other hides parts of itself.
  for (const auto& [bumps, samples] : {std::pair(0.0, 0), {0.12, 0}, {0.12, 4}}) {
    const auto ball = bumpyBall(Qt::cyan, 160, 1, bumps), plain = drawnWhole(bumpyBall(Qt::cyan, 160, 1, bumps));
    ASSERT_TRUE(ball->closed);
    ASSERT_GT(ball->clusters.size(), 20u);
    for (const auto& [name, transform] : views) {
      SCOPED_TRACE(testing::Message() << name << ", " << samples << " samples");
      Shot shot;
      shot.width = 500;
      shot.height = 400;
      shot.transform = transform;
      shot.samples = samples;
      shot.root = element({ball});
      const QImage fast = draw(shot);
      shot.root = element({plain});
      // Where a front and a back face share an edge their depths there may round to the same, above all far away.
      EXPECT_GT(expectAlmostEqual(fast, draw(shot), 8).covered, 20);
    }
  }
}

// Seen at a quarter of the size, which hides an edge that lies off by few pixels, and nothing else. There a point that
// stands for others is as large as a pixel.
TEST_F(DrawerTest, CoarseVersionsLookLikeTheWholeAndChangeNoPictureOfIt) {
  const auto points = [] {
    const GeometryPointer sheet = texturedSheet(600);
    sheet->kind = KindPoints;
    sheet->width = 2;
    sheet->indices.resize(sheet->vertexCount());
    std::iota(sheet->indices.begin(), sheet->indices.end(), 0u);
    sheet->clusters.clear();
    prepare(*sheet);
    return sheet;
  };
  struct Row {
    const char* name;
    GeometryPointer whole, thinned;
    int share;  // of the pixels along edges that may clearly differ
  };
  const Row rows[] = {{"faces", bumpyBall(QColor(200, 90, 60), 360), bumpyBall(QColor(200, 90, 60), 360), 25},
                      {"texture", texturedSheet(340), texturedSheet(340), 25},
                      {"points", points(), points(), 3}};
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    Shot shot;
    shot.width = shot.height = 400;
    shot.root = element({row.whole});
    const QImage whole = draw(shot);
    shot.root = element({row.thinned});
    makeCoarseVersions(worthCoarsening(*shot.root), Coarsening::Fine, false);
    const auto made = coarseVersion(*row.thinned);
    ASSERT_EQ(bool(made), row.thinned->kind == KindFaces);
    EXPECT_TRUE(!made || made->indices.size() < row.thinned->indices.size() / 4);
    EXPECT_EQ(draw(shot), whole);
    shot.detail = 100;
    const QImage coarse = draw(shot);
    EXPECT_GT(compare(coarse, whole).changed, 500) << "it is drawn whole";
    const auto difference = compare(test::quarter(whole), test::quarter(coarse));
    EXPECT_LT(difference.clear, difference.edges / row.share) << difference;
    shot.root->setLayer(LayerMarkers);
    shot.layers = LayerMarkers;
    EXPECT_EQ(draw(shot), whole) << "what is small and meant to be seen is not thinned";
  }
}

TEST(Coarsening, PartsMayLieOffByWhatIsHardlySeenInTheWhole) {
  const auto ball = bumpyBall(Qt::cyan, 360);
  const Element root(new SceneElement);
  for (const double size : {4.0, 10.0, 1.0}) {
    const Element part = element({ball});
    part->setTransform(math::translation(40 * size, 0, 0) * math::scaling(size, size, size));
    root->addChild(part);
  }
  const BoundingBox box = root->getBoundingBox();
  const std::vector<Coarsenable> found = worthCoarsening(*root);
  ASSERT_EQ(found.size(), 1u);
  EXPECT_EQ(found[0].geometry, ball);
  EXPECT_NEAR(found[0].error, 0.001 * (box.max[0] - box.min[0]) / 10, 1e-9);
}

// A street of boxes, none of whose edges may be moved.
TEST(Coarsening, WhatConsistsOfSeamsIsTornAndLosesOnlyWhatIsSmall) {
  MeshBuilder builder(nullptr);
  constexpr int Boxes = 140;
  const auto half = [](int x, int z) { return x % 40 == 20 && z % 40 == 20 ? 2.0 : 0.1; };
  for (int x = 0; x < Boxes; ++x)
    for (int z = 0; z < Boxes; ++z) {
      const double size = half(x, z);
      builder.box({x - size, -size, z - size}, {x + size, size, z + size});
    }
  const GeometryPointer street = builder.finish();
  const std::vector<Coarsenable> found = worthCoarsening(*element({street}));
  ASSERT_EQ(found.size(), 1u);
  makeCoarseVersions(found, Coarsening::Fine, false);
  const auto made = coarseVersion(*street);
  ASSERT_TRUE(made);
  EXPECT_LT(made->indices.size(), street->indices.size() / 2);
  double worst = 0;
  for (const CoarseGroup& group : made->groups) worst = std::max(worst, double(group.error));
  EXPECT_LT(worst, 1.5);
  for (int x = 0; x < Boxes; ++x)
    for (int z = 0; z < Boxes; ++z) {
      const double size = half(x, z);
      if (2 * size < worst) continue;
      EXPECT_TRUE(std::any_of(made->indices.begin(), made->indices.end(),
                              [&](std::uint32_t vertex) {
                                const float* place = &street->positions[3 * std::size_t(vertex)];
                                return std::hypot(place[0] - x - size, place[1] - size, place[2] - z - size) < worst;
                              }))
          << x << ", " << z;
    }
}

TEST_F(DrawerTest, PartsGiveThePictureThatIsDrawnAtOnce) {
  for (const auto& [samples, look] : {std::pair{0, Look::Plain}, {4, Look::Plain}, {0, Look::Studio}})
    for (const Element& root :
         {element({bumpyBall()}),
          element({bumpyBall(), bumpyBall(QColor(90, 140, 220, 120), 120, 1.2), strokes(KindLines, 5, 3000, 7)})}) {
      SCOPED_TRACE(testing::Message() << samples << " samples, " << nameOf(look).toStdString());
      Shot shot;
      shot.root = root;
      shot.samples = samples;
      shot.look = look;
      const QImage whole = draw(shot);
      SceneDrawer drawer(viewer.getGlobalScene());
      QOpenGLFramebufferObject fbo(shot.width, shot.height, QOpenGLFramebufferObject::CombinedDepthStencil);
      int parts = 0;
      const QImage inParts = drawPart(fbo, drawer, shot, 0, 0, [&] {
        drawer.beginParts(shot.root, shot.transform, shot.layers, shot.kinds);
        while (drawer.drawPart(0.001)) {
          ++parts;
          draw(Shot());  // others draw in between
          fbo.bind();
        }
      });
      EXPECT_GE(parts, 4);
      EXPECT_EQ(inParts, whole) << compare(inParts, whole);
      DrawingTurn::setShared();
      const auto inTurns = std::async(std::launch::async, [&] {
                             const test::SharingContext own;
                             return draw(shot);
                           }).get();
      EXPECT_EQ(inTurns, whole) << compare(inTurns, whole);
    }
}

TEST_F(DrawerTest, ContactIsThatOfFacesWhicheverWayTheirDepthsAreDrawn) {
  const GeometryPointer sheet = texturedSheet(300);
  sheet->material = nullptr;  // of two sides
  const math::Matrix4 mirrored = math::translation(0.5, 0, -0.2) * math::scaling(-1, 1, 1);
  const GeometryPointer floor = MeshBuilder(nullptr).box({-2, -2, 0.1}, {2, 2, 0.5}).finish();
  const Element root = element({sheet, floor}, math::scaling(1, -1, -1));
  root->addChild(element({bumpyBall(QColor(200, 90, 60), 220, 0.5)}, math::translation(-0.4, 0, -0.1)));
  root->addChild(element({bumpyBall(QColor(200, 90, 60), 220, 0.4)}, mirrored));
  gui::Camera parallel, amongIt;
  parallel.orthographic = true;
  ASSERT_TRUE(amongIt.setView("front"));
  amongIt.distance = 0.8;
  Shot shot;
  shot.root = root;
  shot.look = Look::Clay;
  shot.contact = true;
  for (const math::Matrix4& transform : {shot.transform, parallel.viewTransform(), amongIt.viewTransform()}) {
    shot.transform = transform;
    const QImage plotted = draw(shot);
    SceneDrawer drawer(viewer.getGlobalScene());
    QOpenGLFramebufferObject fbo(shot.width, shot.height, QOpenGLFramebufferObject::CombinedDepthStencil);
    const QImage byOpenGl = drawPart(fbo, drawer, shot, 0, 0, [&] {
      drawer.beginParts(shot.root, shot.transform, shot.layers, shot.kinds);
      while (drawer.drawPart(1)) continue;
    });
    const test::Difference difference = compare(byOpenGl, plotted);
    EXPECT_LE(difference.changed, difference.covered / 1000) << difference;
  }
}

/// Pixels of a rectangle that are covered.
int coveredOf(const QImage& image, const QRect& part) {
  int covered = 0;
  for (int y = part.top(); y <= part.bottom(); ++y)
    for (int x = part.left(); x <= part.right(); ++x) covered += qAlpha(image.pixel(x, y)) > 127;
  return covered;
}

constexpr std::pair<Look, int> WaysToDraw[]{{Look::Plain, 0}, {Look::Plain, 4}, {Look::Studio, 0}};

TEST_F(DrawerTest, PointsOfScansCloseTheirSurfaceWhereOneIsNear) {
  const auto scan = [](std::size_t count) {
    std::vector<math::Vector3> places(count);
    unsigned seed = 5;
    for (math::Vector3& place : places)
      for (const int axis : {0, 1}) {
        seed = seed * 1664525u + 1013904223u;
        place[axis] = double(seed >> 8) / (1 << 23) - 1;
      }
    places.back() = {40, 40, 0};  // which takes no other with it
    return test::dots(places, 1);
  };
  struct Row {
    const char* name;
    std::size_t count;
    double distance;
    int least, most;  // per cent of its middle that are covered
  };
  for (const Row& row : {Row{"near", 16000, 2.6, 90, 100}, Row{"too near", 16000, 0.5, 10, 40},
                         Row{"few points, which are no scan", 9000, 2.6, 1, 8}})
    for (const auto& [look, samples] : WaysToDraw) {
      SCOPED_TRACE(testing::Message() << row.name << ", " << samples << " samples, " << nameOf(look).toStdString());
      Shot shot;
      shot.root = element({scan(row.count)});
      shot.transform = math::translation(0, 0, -row.distance);
      shot.width = shot.height = 512;
      shot.look = look;
      shot.samples = samples;
      const QImage whole = draw(shot);
      const int covered = coveredOf(whole, {156, 156, 200, 200});
      EXPECT_GE(covered, row.least * 400);
      EXPECT_LE(covered, row.most * 400);
      const test::Difference difference = compare(whole, drawTiled(shot, 40));
      EXPECT_LE(difference.changed, 60) << difference;
    }
}

/// A view whose middle is (0, 0), with 10 pixels for 1.
Shot scaleView(const GeometryPointer& geometry) {
  Shot shot;
  shot.root = element({geometry});
  shot.transform = math::translation(0, 0, -0.05 * shot.height / std::tan(0.40391905546154483));
  return shot;
}

TEST_F(DrawerTest, PointsOfScansReachIntoAViewAsFarAsTheyAreWidened) {
  // 8 pixels wide, which is the most, with their middles 3.3 pixels to the right of the view.
  Shot shot = scaleView(test::dots(grid(128, 12.8 + 0.33, -38, 0.6)));
  for (const auto& [look, samples] : WaysToDraw) {
    std::tie(shot.look, shot.samples) = std::tie(look, samples);
    const QImage image = draw(shot);
    EXPECT_EQ(coveredOf(image, {255, 0, 1, 256}), 256) << samples << nameOf(look).toStdString();
    EXPECT_EQ(coveredOf(image, {0, 0, 255, 256}), 0) << samples << nameOf(look).toStdString();
  }
}

/// Points of which each of these arrays is a cluster.
GeometryPointer clustersOf(const std::vector<std::vector<math::Vector3>>& clusters) {
  std::vector<math::Vector3> all;
  for (const auto& places : clusters) all.insert(all.end(), places.begin(), places.end());
  const GeometryPointer points = test::dots(all);
  points->positions.clear();
  points->clusters.clear();
  for (const auto& places : clusters) {
    BoundingBox box;
    for (const math::Vector3& place : places) box.add(place);
    const auto first = std::uint32_t(points->positions.size() / 3), count = std::uint32_t(places.size());
    Cluster cluster{first, count, first, count};
    for (std::size_t axis = 0; axis < 3; ++axis) {
      cluster.min[axis] = float(box.min[int(axis)]);
      cluster.max[axis] = float(box.max[int(axis)]);
    }
    points->clusters.push_back(cluster);
    for (const math::Vector3& place : places)
      for (const double value : place) points->positions.push_back(float(value));
  }
  return points;
}

TEST_F(DrawerTest, ClustersThatReachFromOneSurfaceToAnotherTakeTheWidthOfTheirNeighbours) {
  // One pixel apart, for which those of the large grid are two wide. Some next to it, in a cluster with others that lie
  // far to the right, would be eight.
  const std::vector<math::Vector3> dense = grid(101, -11, -5, 0.1), sparse{{-12, 12, 0}, {12, 12, 0}, {0, -12, 0}};
  std::vector<math::Vector3> both = grid(10, -0.9, 0, 0.1), right = grid(10, 8, 0, 0.1);
  both.insert(both.end(), right.begin(), right.end());
  for (const auto& clusters : {std::vector{dense, both, sparse}, {sparse, both, dense}}) {
    Shot shot = scaleView(clustersOf(clusters));
    for (const auto& [look, samples] : WaysToDraw) {
      std::tie(shot.look, shot.samples) = std::tie(look, samples);
      const int covered = coveredOf(draw(shot), {190, 90, 50, 50});
      EXPECT_NEAR(covered, 11 * 11, 22) << samples << nameOf(look).toStdString();
    }
  }
}

}  // namespace
}  // namespace nubo::scene
