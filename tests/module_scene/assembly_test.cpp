// Many parts show what each of them alone would, whatever becomes of them.
#include <algorithm>
#include <functional>
#include <tuple>
#include <utility>

#include "drawerfixture.h"
#include "module_scene/draw/pointsieve.h"

namespace nubo::scene {
namespace {

/// Parts of four materials in groups of ten, every seventh one transparent, with lines and points among them; part i is
/// at a place by a formula. `asked`: nothing is known of where they are, so that each must be asked.
Element assembly(bool asked) {
  constexpr int Count = 300;
  const util::YPointer<Material> materials[]{paint(QColor(200, 90, 60), true), paint(QColor(60, 160, 90), true),
                                             paint(QColor(90, 90, 220), true), paint(QColor(230, 220, 90, 110), true)};
  const Element root(new SceneElement);
  for (int i = 0; i < Count; ++i) {
    GeometryPointer geometry = i % 10 == 4 ? strokes(KindLines, 3, 4, unsigned(i)) : nullptr;
    if (i % 10 == 8) geometry = strokes(KindPoints, 5, 20, unsigned(i));
    if (!geometry) geometry = bumpyBall(Qt::white, 6 + i % 5);
    geometry->material = materials[i % 7 == 3 ? 3 : i % 3];
    geometry->transparent = i % 7 == 3;
    geometry->closed = false;  // or back faces would be left out of what lies wholly before the eye only
    if (asked) geometry->box.add(math::Vector3{-1e6, -1e6, -1e6});
    if (asked) geometry->box.add(math::Vector3{1e6, 1e6, 1e6});
    if (i % 10 == 0) root->addChild(element({}, math::rotation(0.3 * i, {0, 0, 1})));
    root->getChildren().back()->addChild(
        element({geometry}, math::translation(std::sin(i * 1.7), std::cos(i * 2.3), std::sin(i * 0.9)) *
                                math::scaling(0.1, i % 2 ? -0.1 : 0.1, 0.07)));
  }
  return root;
}

TEST_F(DrawerTest, PartsOfAnAssemblyAreDrawnAsIfEachWereAsked) {
  struct Step {
    const char* what;
    void (*change)(SceneElement& root);
  };
  const Step steps[] = {
      {"as it was made", [](SceneElement&) {}},
      {"a part moved", [](SceneElement& root) { root.getChildren()[3]->setTransform(math::translation(0.4, 0, 0.5)); }},
      {"a group hidden", [](SceneElement& root) { root.getChildren()[5]->setVisible(false); }},
      {"and shown, another one hidden",
       [](SceneElement& root) {
         root.getChildren()[5]->setVisible(true);
         root.getChildren()[6]->setVisible(false);
       }},
      {"parts that are no longer there", [](SceneElement& root) { root.removeChild(root.getChildren()[7].get()); }},
      {"a marker among them", [](SceneElement& root) { root.getChildren()[8]->setLayer(LayerMarkers); }},
      {"all moved", [](SceneElement& root) {
         root.setTransform(math::rotation(1, {0, 1, 0}));
       }}};
  const Element fast = assembly(false), asked = assembly(true);
  SceneDrawer drawer(viewer.getGlobalScene());
  QImage before;
  for (const Step& step : steps) {
    SCOPED_TRACE(step.what);
    {
      const SceneChange change(viewer.getGlobalScene(), LockAll);
      for (const Element& root : {fast, asked}) step.change(*root);
    }
    Shot shot;
    for (const bool amidst : {true, false}) {
      shot.transform = amidst ? math::translation(0.2, 0.1, 0.3) : math::translation(0, 0, -3.2);
      shot.root = asked;
      const QImage expected = draw(shot);
      shot.root = fast;
      const QImage drawn = drawPart(drawer, shot, 0, 0, shot.width, shot.height);
      EXPECT_EQ(drawn, expected) << compare(drawn, expected);
      if (amidst) continue;
      EXPECT_NE(std::exchange(before, drawn), drawn);
    }
  }
}

/// Balls and lines in colours of their own, some of them the same ball in many places. `apart`: no two have the same
/// material, though all look as if they had.
Element crowd(bool apart) {
  GeometryPointer often;
  const Element root(new SceneElement);
  for (int i = 0; i < 400; ++i) {
    GeometryPointer geometry = i % 10 == 4 ? strokes(KindLines, 3, 4, unsigned(i)) : bumpyBall(Qt::white, 6 + i % 5);
    const auto channel = [i](int step) { return std::uint8_t(60 + i * step % 190); };
    for (std::size_t vertex = 0; vertex < geometry->vertexCount(); ++vertex)
      geometry->colors.insert(geometry->colors.end(), {channel(7), channel(11), channel(13), 255});
    geometry->transparent = i % 7 == 3;
    if (i % 40 == 0) often = geometry;
    if (i % 40 < 5) geometry = often;
    if (i % 40 == 0 || geometry != often || apart) {
      if (apart) geometry = new Geometry(*geometry);
      geometry->material = new Material;
      geometry->material->lit = geometry->kind == KindFaces;
      geometry->material->alphaCutoff = apart ? 0.001f * float(i + 1) : 0.5f;
    }
    root->addChild(element({geometry}, math::translation(std::sin(i * 1.7), std::cos(i * 2.3), std::sin(i * 0.9)) *
                                           math::rotation(i, {0.6, 0, 0.8}) *
                                           math::scaling(0.15, i % 3 ? -0.15 : 0.15, 0.07)));
  }
  return root;
}

// Which needs OpenGL as a card has it.
TEST_F(DrawerTest, PartsThatOneCallDrawsAreDrawnAsEachIsByItsOwn) {
  const Element together = crowd(false), apart = crowd(true);
  for (const Look look : {Look::Studio, Look::Clay, Look::Technical})
    for (const bool cut : {false, true}) {
      SCOPED_TRACE(testing::Message() << nameOf(look).toStdString() << (cut ? ", cut" : ""));
      Shot shot;
      shot.look = look;
      shot.contact = !cut;
      if (cut) shot.section = new Section({{0.6, 0.8, 0}, 0.1});
      shot.root = apart;
      const QImage expected = draw(shot);
      shot.root = together;
      const test::Difference difference = compare(draw(shot), expected);
      EXPECT_GT(difference.covered, 20000);
      EXPECT_EQ(difference.changed + difference.rounded, 0) << difference;
    }
}

/// Squares in one plane, each of a colour of its own, that lie one on the other, so that what is drawn last shows.
Element layers() {
  const Element root(new SceneElement);
  for (int i = 0; i < 600; ++i)
    root->addChild(element({square(QColor::fromHsv(i * 7 % 360, 200, 250), 0.1, 1.2)},
                           math::translation(0.4 * std::sin(i * 1.7), 0.4 * std::cos(i * 2.3), 0)));
  return root;
}

TEST_F(DrawerTest, WhatStandsStillIsSeenAsIfAllWereDrawnAgain) {
  struct Step {
    const char* what;
    int every;  // so many layers are one that moves; 0: none does
    std::function<void(SceneElement& parts, Shot& shot)> change;
  };
  const auto bend = [](SceneElement& parts, Shot&) {
    Geometry& bent = *parts.getGeometries().back();
    bent.positions[2] += 0.3f;
    bent.dropCopies();
  };
  const auto exchange = [](SceneElement& parts, Shot&) { parts.setGeometry(0, square(Qt::red, 0.05, 2)); };
  const Step steps[] = {
      {"as it was made", 0, [](SceneElement&, Shot&) {}},
      {"the first time that some move", 20, [](SceneElement&, Shot&) {}},
      {"they move again", 20, [](SceneElement&, Shot&) {}},
      {"one bends, too", 20, bend},
      {"and again", 20, bend},
      {"others move", 11,
       [](SceneElement& parts, Shot&) { parts.getChildren()[3]->setTransform(math::translation(0, 0.3, 0.8)); }},
      {"the same", 11, [](SceneElement&, Shot&) {}},
      {"one is another", 11, exchange},
      {"and stays it", 11, [](SceneElement&, Shot&) {}},
      {"one of the overlays", 11, [](SceneElement& parts, Shot&) { parts.getChildren()[8]->setLayer(LayerMarkers); }},
      {"nothing moves", 0, [](SceneElement&, Shot&) {}},
      {"seen from elsewhere", 0, [](SceneElement&, Shot& shot) { shot.transform = math::translation(0.1, 0, -3); }},
      {"with a cut", 0,
       [](SceneElement&, Shot& shot) {
         shot.section = new Section({{0.6, 0.8, 0}, 0.1});
       }},
      {"so that all do", 7, [](SceneElement&, Shot&) {}},
      {"with one that only layers reach", 0,
       [](SceneElement& parts, Shot& shot) {
         parts.getChildren()[3]->setVisible(false);
         shot.section = new Section({{1, 0, 200}, 240});
       }},
      {"again", 0, [](SceneElement&, Shot&) {}},
      {"with another", 0,
       [](SceneElement&, Shot& shot) {
         shot.section = new Section({{1, 0, 200}, 240.2});
       }},
      {"half of them", 2, [](SceneElement&, Shot&) {}},
      {"again", 2, [](SceneElement&, Shot&) {}}};
  const std::tuple<int, Look, bool, bool> rows[]{{0, Look::Plain, false, false},
                                                 {4, Look::Plain, false, true},
                                                 {0, Look::Technical, false, false},
                                                 {0, Look::Studio, true, false}};
  for (const auto& [samples, look, contact, inParts] : rows) {
    const Element root(new SceneElement), parts = assembly(false), moving = layers();
    parts->addGeometry(square(Qt::green, 0.3, 1));
    parts->addGeometry(square(Qt::white, 0.2, 1.3));
    parts->getGeometries().back()->identities.assign(4, 0);
    root->addChild(parts);
    root->addChild(moving);
    Shot shot;
    shot.root = root;
    std::tie(shot.samples, shot.look, shot.contact) = std::tie(samples, look, contact);
    SceneDrawer drawer(viewer.getGlobalScene());
    QOpenGLFramebufferObject fbo(shot.width, shot.height, QOpenGLFramebufferObject::CombinedDepthStencil);
    for (const Step& step : steps) {
      SCOPED_TRACE(testing::Message() << samples << " samples, " << nameOf(look).toStdString() << ", " << step.what);
      {
        const SceneChange change(viewer.getGlobalScene(), LockAll);
        step.change(*parts, shot);
        for (std::size_t i = 0; step.every && i < moving->getChildren().size(); i += std::size_t(step.every)) {
          SceneElement& part = *moving->getChildren()[i];
          part.setTransform(math::translation(0.03, -0.02, 0) * part.getTransform());
        }
      }
      const QImage drawn = drawPart(fbo, drawer, shot, 0, 0, [&, inParts = inParts] {
        if (!inParts) return drawer.glDraw(shot.root, nullptr, shot.transform, 0, shot.layers, shot.kinds);
        drawer.beginParts(shot.root, shot.transform, shot.layers, shot.kinds);
        while (drawer.drawPart(3)) continue;
      });
      const QImage expected = draw(shot);
      ASSERT_EQ(drawn, expected) << compare(drawn, expected);
    }
  }
}

TEST_F(DrawerTest, EdgesThatStandStillLieOverLinesThatMoveAlongThem) {
  viewer.getGlobalScene()->setEdges(true);
  const Element root = element({bumpyBall(QColor(200, 90, 60), 60, 0.5)}), line(new SceneElement);
  const GeometryPointer along(new Geometry(*square(Qt::yellow)));
  along->kind = KindLines;
  along->width = 5;
  along->indices = {0, 1};
  along->clusters.clear();
  prepare(*along);
  line->addGeometry(along);
  root->addChild(element({square(Qt::green, 0.8, 0.6)}));
  root->addChild(line);
  Shot shot;
  shot.root = root;
  shot.width = shot.height = 64;
  SceneDrawer drawer(viewer.getGlobalScene());
  for (int step = 0; step < 4; ++step) {
    {
      const SceneChange change(viewer.getGlobalScene(), LockAll);
      line->setTransform(math::translation(0.05 * step, -0.3, 0.6));
    }
    const QImage drawn = drawPart(drawer, shot, 0, 0, shot.width, shot.height), expected = draw(shot);
    EXPECT_EQ(drawn, expected) << step << ": " << compare(drawn, expected);
  }
}

/// Two wavy shells of so many points in all, in the colours of where they are.
GeometryPointer shells(int count, float width) {
  GeometryPointer points(new Geometry);
  points->kind = KindPoints;
  points->width = width;
  for (int i = 0; i < count; ++i) {
    const double up = 1 - 2 * (i + 0.5) / count, around = 2.399963 * i, across = std::sqrt(1 - up * up);
    const double radius = (i % 2 ? 0.5 : 0.9) * (1 + 0.05 * std::sin(9 * around));
    for (const double value : {radius * across * std::cos(around), radius * up, radius * across * std::sin(around)}) {
      points->positions.push_back(float(value));
      points->colors.push_back(std::uint8_t(127 + 120 * value));
    }
    points->colors.push_back(255);
    points->indices.push_back(std::uint32_t(i));
  }
  prepare(*points);
  return points;
}

class PointsTest : public DrawerTest {
 protected:
  /// A part of a shot, drawn at once, beside all of its points drawn by OpenGL.
  void expectAsOpenGLAlone(const Shot& shot) {
    SceneDrawer drawer(viewer.getGlobalScene());
    QOpenGLFramebufferObject fbo(201, 177, QOpenGLFramebufferObject::CombinedDepthStencil);
    const QImage all = drawPart(fbo, drawer, shot, 30, 40, [&] {
      drawer.beginParts(shot.root, shot.transform, shot.layers, shot.kinds);
      while (drawer.drawPart(1000)) continue;
    });
    const QImage fast = drawPart(fbo, drawer, shot, 30, 40);
    const auto difference = compare(fast, all);
    ASSERT_GT(difference.covered, 10000);
    EXPECT_LE(difference.changed + difference.rounded, 9) << difference;
  }
};

TEST_F(PointsTest, ShowWhatOpenGLAloneShowsOfThem) {
  constexpr int Count = 150000, Sparse = 20000;
  const math::Matrix4 transform = math::translation(0.1, 0, -2.2) * math::rotation(0.7, {0.6, 0.8, 0});
  // Points of one colour each are plotted where they are alone; else those are left out that others hide.
  const GeometryPointer face = square(Qt::white, 0.1), plain = strokes(KindPoints, 9, 40, 1),
                        large = strokes(KindPoints, 15, 1500, 3), lit = strokes(KindPoints, 60, 40, 2);
  large->material = plain->material = paint(QColor(230, 120, 40));
  lit->material = paint(QColor(230, 120, 40), true);
  lit->normals = lit->positions;
  const std::tuple<float, int, GeometryPointer> cases[]{
      {1.0f, 0, face},  {2.5f, 0, face},  {3.0f, 0, face},  {4.0f, 0, face},   {15.6f, 0, face},
      {3.0f, 4, face},  {1.0f, 0, plain}, {2.5f, 0, plain}, {15.6f, 0, plain}, {1.0f, 4, plain},
      {3.3f, 4, plain}, {1.0f, 0, large}, {1.0f, 0, lit}};
  for (const auto& [width, samples, other] : cases) {
    SCOPED_TRACE(testing::Message() << width << " pixels, " << samples << " samples");
    Shot shot;
    shot.root = element({shells(other == large ? Sparse : Count, width), other});
    shot.transform = transform;
    shot.samples = samples;
    expectAsOpenGLAlone(shot);
  }
}

/// A square of points, a bit turned, with about two for a pixel on each axis from the front. It rises by so much of its
/// width, through z = 0 right of the middle.
GeometryPointer slope(double half, double turn, double rise, float width, const QColor& color) {
  constexpr int Across = 200;
  std::vector<math::Vector3> places = grid(Across, -half, -half, 2 * half / (Across - 1));
  for (math::Vector3& place : places) {
    place = math::transformPoint(math::rotation(turn, {0, 0, 1}), place);
    place[2] = rise * (place[0] - 0.1);
  }
  const GeometryPointer points = test::dots(places, width);
  points->material = paint(color);
  return points;
}

TEST_F(PointsTest, BehindAWallAreSeenWhereTheyReachBeyondItOrThroughIt) {
  // So wide that gaps are none, which would have points be larger.
  for (const auto& [width, samples] : {std::pair(3.0f, 0), {15.6f, 0}, {3.4f, 4}, {7.3f, 4}})
    for (const double rise : {0.4, -0.4}) {
      SCOPED_TRACE(testing::Message() << width << " pixels, " << samples << " samples, rising by " << rise);
      Shot shot;
      // On the wall lie points of another size, which are seen as they come later.
      shot.root = element({slope(0.5, 0, 0, width, {230, 120, 40}), slope(0.7, 0.3, rise, width, {60, 170, 110}),
                           slope(0.2, 0, 0, 1.6f * width, {90, 80, 210})});
      shot.transform = math::translation(0, 0, -2.9);
      shot.samples = samples;
      expectAsOpenGLAlone(shot);
    }
}

TEST(PointSieve, LetsPointsBesideAViewHideNothingThatTheyDoNotCover) {
  // 3 pixels beside a view of 20 are drawn, too: one nearer that is just not among them, or a pixel further left.
  for (const auto& [nearer, farther] : {std::pair(-1.302f, -1.298f), {-1.26f, -1.16f}}) {
    PointSieve sieve;
    std::vector<std::uint32_t> chosen;
    sieve.begin(math::Matrix4(), 20, 20, 3, 4, false);
    sieve.add({nearer, 0.03f, -0.5f, farther, 0.03f, 0.5f}, 0, 2);
    sieve.sift(chosen);
    EXPECT_EQ(std::count(chosen.begin(), chosen.end(), 1u), 1) << nearer;
  }
}

TEST(PointSieve, KeepsOfPointsInAPixelTheNearestAndOfHiddenOnesNone) {
  // Seen from the front, 4 pixels wide in a view of 20: behind four that lie around it, beside them, before them, and
  // behind one whose pixels it shares, though not its place.
  const std::vector<float> four{0.1f, 0.1f, -0.5f, -0.1f, 0.1f, -0.5f, 0.1f, -0.1f, -0.5f, -0.1f, -0.1f, -0.5f};
  const std::vector<float> places[]{{0, 0, 0.5f}, {0.35f, 0, 0.5f}, {0, 0, -0.6f}, {0.102f, 0.102f, 0.4f}};
  const bool shown[][4]{{false, true, true, false}, {false, true, true, true}};
  for (const bool sampled : {false, true})
    for (std::size_t i = 0; i < std::size(places); ++i) {
      std::vector<float> points = four;
      points.insert(points.end(), places[i].begin(), places[i].end());
      PointSieve sieve;
      std::vector<std::uint32_t> chosen;
      sieve.begin(math::Matrix4(), 20, 20, 3, 4, sampled);
      sieve.add(points, 0, 5);
      sieve.sift(chosen);
      EXPECT_EQ(std::count(chosen.begin(), chosen.end(), 4u), shown[sampled][i]) << i << ' ' << sampled;
      EXPECT_GE(chosen.size(), 4u);
    }
}

}  // namespace
}  // namespace nubo::scene
