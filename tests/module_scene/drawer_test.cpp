#include <gmock/gmock.h>

#include <QCoreApplication>
#include <QOpenGLFunctions>
#include <QResizeEvent>
#include <array>
#include <future>
#include <map>
#include <numeric>
#include <thread>

#include "module_scene/draw/drawingturn.h"
#include "module_scene/mesh/coarsening.h"
#include "module_scene/mesh/meshbuilder.h"
#include "support/glfixture.h"
#include "support/quad.h"

namespace nubo::scene {
namespace {

using test::compare;
using test::expectAlmostEqual;
using test::Shot;

using Element = util::YPointer<SceneElement>;
using GeometryPointer = util::YPointer<Geometry>;

util::YPointer<Material> paint(const QColor& color, bool lit = false) {
  util::YPointer<Material> material(new Material);
  material->diffuse = {float(color.redF()), float(color.greenF()), float(color.blueF()), float(color.alphaF())};
  material->lit = lit;
  return material;
}

Element element(std::initializer_list<GeometryPointer> geometries, const math::Matrix4& transform = math::Matrix4()) {
  Element result(new SceneElement);
  for (const auto& geometry : geometries) result->addGeometry(geometry);
  result->setTransform(transform);
  return result;
}

// Seen from (0, 0, 3) a square of this half size at z = 0 is a square in the middle.
GeometryPointer square(const QColor& color, double half = 0.5, double z = 0) {
  const float h = float(half), depth = float(z);
  return test::quad({-h, -h, depth, h, -h, depth, h, h, depth, -h, h, depth}, paint(color)->diffuse);
}

// Points, or lines between them, anywhere in view.
GeometryPointer strokes(Kind kind, float width, int count, unsigned seed) {
  const auto next = [&seed] {
    seed = seed * 1664525u + 1013904223u;
    return double(seed >> 8) / double(1 << 24) * 2.6 - 1.3;
  };
  std::vector<math::Vector3> places(count);
  for (math::Vector3& place : places)
    for (double& value : place) value = next();
  const GeometryPointer geometry = test::dots(places, width);
  geometry->kind = kind;
  geometry->clusters.clear();
  prepare(*geometry);
  return geometry;
}

// A closed, bumpy ball that hides parts of itself, lit.
GeometryPointer bumpyBall(const QColor& color = QColor(200, 90, 60), int steps = 160, double radius = 1.0,
                          double bumps = 0.12) {
  std::vector<MeshBuilder::Point2> profile;
  for (int i = 0; i <= steps; ++i) {
    const double angle = M_PI * i / steps, r = radius * (1 + bumps * std::sin(14 * angle));
    profile.push_back({i == 0 || i == steps ? 0.0 : r * std::sin(angle), -r * std::cos(angle)});
  }
  return MeshBuilder(paint(color, true)).turned(profile, false, 2 * steps).finish();
}

// A wavy sheet from -1 to 1 with squares on it, `repeats` times along both edges.
GeometryPointer texturedSheet(int steps, float repeats = 1, bool repeat = true) {
  QImage squares(64, 64, QImage::Format_RGB32);
  for (int y = 0; y < 64; ++y)
    for (int x = 0; x < 64; ++x) squares.setPixel(x, y, (x / 8 + y / 8) % 2 ? 0xffffff : 0x202020 + x * 0x30000);
  for (int y = 56; y < 64; ++y)
    for (int x = 0; x < 64; ++x) squares.setPixel(x, y, 0xff0000);  // the lower edge
  GeometryPointer sheet(new Geometry);
  sheet->material = paint(Qt::white);
  sheet->material->texture = new Texture(squares, repeat);
  const auto row = std::uint32_t(steps) + 1;
  for (std::uint32_t i = 0; i < row * row; ++i) {
    const float u = float(i % row) / float(steps), v = float(i / row) / float(steps);
    sheet->positions.insert(sheet->positions.end(), {2 * u - 1, 2 * v - 1, 0.3f * std::sin(7 * u) * std::cos(5 * v)});
    sheet->texCoords.insert(sheet->texCoords.end(), {u * repeats, v * repeats});
    if (i % row + 1 < row && i + row < row * row)
      sheet->indices.insert(sheet->indices.end(), {i, i + 1, i + row, i + 1, i + row + 1, i + row});
  }
  prepare(*sheet);
  return sheet;
}

// Takes away what lets the drawer leave some out.
GeometryPointer drawnWhole(const GeometryPointer& geometry) {
  geometry->closed = false;
  for (Cluster& cluster : geometry->clusters) {
    cluster.min.fill(-1e6f);
    cluster.max.fill(1e6f);
  }
  return geometry;
}

// Pixels that differ by more than 1 and touch the border between two tiles: of differences that lie anywhere, one
// in edge / 4 is expected here.
int changedAlongBorders(const QImage& whole, const QImage& tiled, int edge) {
  int count = 0;
  for (int y = 0; y < whole.height(); ++y)
    for (int x = 0; x < whole.width(); ++x) {
      const int up = whole.height() - 1 - y;
      const bool touches = x % edge == 0 || x % edge == edge - 1 || up % edge == 0 || up % edge == edge - 1;
      count += touches && test::distance(whole.pixel(x, y), tiled.pixel(x, y)) > 1;
    }
  return count;
}

class DrawerTest : public test::GlFixture {
 protected:
  void SetUp() override {
    GlFixture::SetUp();
    viewer.getGlobalScene()->setBackgroundColor(QColor(40, 80, 120));
  }
  void TearDown() override { EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR)); }

  QColor center(const Shot& shot) { return draw(shot).pixelColor(shot.width / 2, shot.height / 2); }

  const QRgb nothing = qRgba(40, 80, 120, 0);
};

TEST_F(DrawerTest, PutsWhatIsThereUprightIntoTheMiddleAndLeavesTheRest) {
  Shot shot;
  shot.root = element({});
  shot.root->addChild(element({square(Qt::red, 0.2)}, math::translation(0, 0.8, 0)));
  shot.root->addChild(element({square(Qt::blue, 0.2)}, math::translation(0.8, 0, 0)));
  const int offset = int(0.8 / 3 / std::tan(0.40391905546154483) * 128);
  for (const int samples : {0, 4, 1000}) {
    shot.samples = samples;
    const QImage picture = draw(shot);
    EXPECT_EQ(picture.pixel(128, 128 - offset), qRgba(255, 0, 0, 255)) << samples;
    EXPECT_EQ(picture.pixel(128 + offset, 128), qRgba(0, 0, 255, 255)) << samples;
    EXPECT_EQ(picture.pixel(128, 128 + offset), nothing) << samples;
    EXPECT_EQ(picture.pixel(0, 0), nothing) << samples;
  }
}

TEST_F(DrawerTest, LightComesFromAboveAndIsTheSameForAllSizes) {
  const auto shade = [&](const math::Vector3& normal) {
    Shot shot;
    const GeometryPointer lit = square(QColor(200, 200, 200));
    lit->material->lit = true;
    for (std::size_t i = 0; i < lit->normals.size(); ++i) lit->normals[i] = float(normal[i % 3]);
    shot.root = element({lit});
    return center(shot).green();
  };
  EXPECT_GT(shade({0, 0.6, 0.8}), 200);
  EXPECT_LT(shade({0, -0.6, 0.8}), 150);
  EXPECT_NEAR(shade({0, -0.98, 0.2}), 0.22 * 200, 1) << "a little comes from everywhere";

  Shot shot;
  const auto ball = [&](double factor) {
    const auto geometry = bumpyBall(QColor(200, 200, 200), 60, 1 / factor);
    shot.root = element({geometry}, math::scaling(factor, factor, factor));
    return draw(shot);
  };
  const QImage expected = ball(1);
  for (const double factor : {0.01, 30.0}) expectAlmostEqual(ball(factor), expected, 40);
}

TEST_F(DrawerTest, TexturesStandUprightAndRepeatIfTheyShall) {
  Shot shot;
  const auto redRows = [&](const GeometryPointer& sheet) {
    shot.root = element({sheet});
    const QImage picture = draw(shot);
    int rows = 0, lowest = -1;
    for (int y = 1; y < picture.height(); ++y) {
      const auto isRed = [&](int line) { return picture.pixelColor(128, line) == QColor(255, 0, 0); };
      rows += isRed(y) && !isRed(y - 1);
      if (isRed(y)) lowest = y;
    }
    return std::pair(rows, lowest > picture.height() * 3 / 4);
  };
  EXPECT_EQ(redRows(texturedSheet(4, 1)), std::pair(1, true));
  EXPECT_EQ(redRows(texturedSheet(4, 2)).first, 2);
  EXPECT_EQ(redRows(texturedSheet(4, 2, false)), std::pair(1, true));
}

TEST_F(DrawerTest, SmoothedEdgesKeepTheirColorInPicturesAndBlendInFrames) {
  Shot shot;
  shot.root = element({square(QColor(200, 100, 50))}, math::rotation(0.3, {0, 0, 1}));
  shot.samples = 4;
  const QImage picture = draw(shot);
  shot.layers = 65535;
  const QImage frame = draw(shot);
  int edges = 0;
  for (int y = 0; y < picture.height(); ++y)
    for (int x = 0; x < picture.width(); ++x) {
      const QRgb pixel = picture.pixel(x, y), blended = frame.pixel(x, y);
      const int alpha = qAlpha(pixel);
      ASSERT_EQ(qAlpha(blended), alpha);
      if (alpha == 0) {
        ASSERT_TRUE(pixel == nothing && blended == nothing);
        continue;
      }
      edges += alpha < 255;
      // A quarter covered is kept in bytes as a quarter of the colour: half a step of that is two of the colour.
      const int limit = alpha < 255 ? 2 : 0;
      ASSERT_LE(test::distance(pixel, qRgba(200, 100, 50, alpha)), limit);
      const auto mixed = [&](int own, int behind) { return (own * alpha + behind * (255 - alpha)) / 255; };
      ASSERT_LE(test::distance(blended, qRgba(mixed(200, 40), mixed(100, 80), mixed(50, 120), alpha)), 2);
    }
  EXPECT_GT(edges, 200);
}

TEST_F(DrawerTest, TransparencyIsSortedAndCarriedInAlpha) {
  const auto red = square(QColor(255, 0, 0, 128), 0.5, 0.2), blue = square(QColor(0, 0, 255, 128), 0.5, -0.2);
  const auto green = square(QColor(0, 255, 0), 0.7, -0.6), hidden = square(QColor(9, 9, 9, 200), 0.5, -0.9);
  QImage clear(4, 4, QImage::Format_ARGB32);
  clear.fill(QColor(200, 100, 50, 20));
  const GeometryPointer opaque = square(QColor(255, 255, 255, 30));
  opaque->material->alphaMode = AlphaMode::Opaque;
  opaque->material->texture = new Texture(clear);
  opaque->texCoords.assign(8, 0.5f);
  opaque->colors.assign(16, 102);  // 0.4
  prepare(*opaque);
  // Ahead of the blue one in the middle, although most of it lies behind it.
  const GeometryPointer steep =
      test::quad({-2, -1, -3, 0.4f, -1, 0.9f, 0.4f, 1, 0.9f, -2, 1, -3}, {1, 0, 0, 128 / 255.f});
  // A near side that comes before its far side.
  const GeometryPointer body = test::quad({-1, -1, 0, 1, -1, 0, 1, 1, 0, -1, 1, 0}, {1, 1, 1, 1});
  body->positions.insert(body->positions.end(), {-1, -1, -0.1f, 1, -1, -0.1f, 1, 1, -0.1f, -1, 1, -0.1f});
  body->indices.insert(body->indices.end(), {4, 6, 5, 4, 7, 6});
  for (int i = 0; i < 8; ++i)
    body->colors.insert(body->colors.end(), {std::uint8_t(i < 4 ? 255 : 0), 0, std::uint8_t(i < 4 ? 0 : 255), 128});
  body->normals.clear();
  body->clusters.clear();
  prepare(*body);
  const double a = 128 / 255.0, both = 1 - (1 - a) * (1 - a);
  struct Row {
    const char* name;
    std::initializer_list<GeometryPointer> geometries;
    int layers;
    std::array<double, 4> color;
  };
  const Row rows[] = {
      {"glass in a picture", {red}, 3, {255, 0, 0, 128}},
      {"glass in a frame", {red}, 65535, {255 * a + 40 * (1 - a), 80 * (1 - a), 120 * (1 - a), 128}},
      {"from the front", {red, blue}, 3, {255 * a / both, 0, 255 * a * (1 - a) / both, 255 * both}},
      {"from the back", {blue, red}, 3, {255 * a / both, 0, 255 * a * (1 - a) / both, 255 * both}},
      {"a body's far side first", {body}, 3, {255 * a / both, 0, 255 * a * (1 - a) / both, 255 * both}},
      {"crossing", {steep, blue}, 3, {255 * a * (1 - a) / both, 0, 255 * a / both, 255 * both}},
      {"what is opaque stays so behind glass", {red, hidden, green}, 3, {255 * a, 255 * (1 - a), 0, 255}},
      {"alpha of an opaque material means nothing", {opaque}, LayerModel, {80, 40, 20, 255}},
      {"only what is opaque", {red, green}, LayerModel, {0, 255, 0, 255}},
      {"only what is not", {red, green}, LayerTransparent, {255, 0, 0, 128}}};
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    Shot shot;
    shot.root = element(row.geometries);
    shot.layers = row.layers;
    const QColor color = center(shot);
    // Each of two layers is rounded to a byte, and dividing by an alpha of half doubles that.
    const double shown[]{double(color.red()), double(color.green()), double(color.blue()), double(color.alpha())};
    for (std::size_t i = 0; i < 4; ++i) EXPECT_NEAR(shown[i], row.color[i], i < 3 ? 2 : 1) << "channel " << i;
  }
}

TEST_F(DrawerTest, LayersAndKindsSelect) {
  Shot shot;
  const Element overlay = element({square(Qt::red, 0.3, 0.1)});
  overlay->setLayer(LayerAxes);
  overlay->addChild(element({square(Qt::white, 0.1, 0.2)}));
  shot.root = element({square(Qt::green), test::dots({{0, 0, 0.5}}, 9)});
  shot.root->addChild(overlay);
  const auto show = [&](int layers, int kinds) {
    shot.layers = layers;
    shot.kinds = kinds;
    return center(shot);
  };
  EXPECT_EQ(show(3, KindFaces), QColor(Qt::green));
  EXPECT_EQ(show(65535, KindFaces), QColor(Qt::white)) << "children belong to their parent's overlay";
  EXPECT_EQ(show(3, 7), QColor(Qt::yellow));
  EXPECT_EQ(show(3, KindLines), QColor::fromRgba(nothing));
  shot.root->setVisible(false);
  EXPECT_EQ(show(65535, 7), QColor::fromRgba(nothing));
}

// Positions in the whole and in a tile round differently, by about 1/1000 of a pixel, and are then put on a grid of
// 1/256 of a pixel. So an edge may move by a step of that grid, which changes up to one in 256 of the samples along
// it, and a colour may fall on the other side of a byte's limit. A border at which something breaks changes far more.
TEST_F(DrawerTest, TilesFitTogetherToThePictureDrawnAtOnce) {
  struct Row {
    const char* name;
    GeometryPointer geometry;
    int samples;
    Look look = Look::Plain;
  };
  const GeometryPointer relief = texturedSheet(20);
  const util::YPointer<Material> metal = paint(Qt::white, true);
  metal->physical.emplace();
  metal->physical->metallic = 1;
  metal->physical->roughness = 0.3f;
  metal->physical->normalTexture.texture = metal->physical->metallicRoughnessTexture.texture =
      relief->material->texture;
  relief->material = metal;
  const Row rows[] = {{"lit mesh", bumpyBall(), 0},
                      {"smoothed mesh", bumpyBall(), 4},
                      {"glass", bumpyBall(QColor(90, 180, 220, 100)), 0},
                      {"texture", texturedSheet(20), 0},
                      {"thin lines", strokes(KindLines, 1, 80, 1), 0},
                      {"wide lines", strokes(KindLines, 7, 80, 2), 0},
                      {"smoothed wide lines", strokes(KindLines, 4, 80, 3), 4},
                      {"points", strokes(KindPoints, 1, 2000, 4), 0},
                      {"smoothed wide points", strokes(KindPoints, 9, 400, 6), 4},
                      {"mesh in the studio", bumpyBall(), 0, Look::Studio},
                      {"smoothed clay", bumpyBall(), 4, Look::Clay},
                      {"relief", relief, 0, Look::Studio}};
  for (const Row& row : rows)
    for (const int edge : {512, 100, 37}) {
      SCOPED_TRACE(testing::Message() << row.name << " in tiles of " << edge);
      Shot shot;
      shot.root = element({row.geometry});
      shot.width = 701;
      shot.height = 555;
      shot.samples = row.samples;
      shot.look = row.look;
      const QImage whole = draw(shot), tiled = drawTiled(shot, edge);
      const auto difference = compare(whole, tiled);
      EXPECT_GT(difference.covered, 1000);
      EXPECT_LE(difference.changed, std::max(row.samples, 1) * difference.edges / 256) << difference;
      // What a relief mirrors moves further than the surface.
      EXPECT_LE(difference.rounded, shot.width * shot.height / (row.look == Look::Plain ? 2000 : 300)) << difference;
      EXPECT_LE(changedAlongBorders(whole, tiled, edge), 2 + difference.changed * 8 / edge) << difference;
    }
}

TEST_F(DrawerTest, WidePointAcrossATilesCornerIsWholeAndGrowsWithThePicture) {
  Shot shot;  // of which four tiles of 128 meet in the point's centre
  shot.root = element({test::dots({{0, 0, 0}}, 11)});
  shot.transform = math::translation(0.002, 0.003, -3);
  const auto covered = [&] { return compare(drawTiled(shot, 128), QImage(256, 256, QImage::Format_ARGB32)).covered; };
  EXPECT_EQ(covered(), 11 * 11);

  // The panel shows an angle of 45 degrees, the shot about one more: 11 * 2 * tan(22.5) / tan(23.14) is 21.3.
  gui::ScenePanel panel;
  panel.resize(300, 128);
  viewer.setActivePanel(&panel);
  EXPECT_EQ(covered(), 21 * 21);
  panel.resize(300, 2);
  QResizeEvent resized(panel.size(), {});
  QCoreApplication::sendEvent(&panel, &resized);  // which hidden widgets get when they are shown
  EXPECT_GT(covered(), 60 * 60) << "as wide as OpenGL allows, at least 63";
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
    sheet->width = 3;
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
                      {"points", points(), points(), 6}};
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    Shot shot;
    shot.width = shot.height = 400;
    shot.root = element({row.whole});
    const QImage whole = draw(shot);
    shot.root = element({row.thinned});
    makeCoarseVersions(worthCoarsening(*shot.root), Coarsening::Fine, false);
    EXPECT_LT(coarseVersion(*row.thinned)->indices.size(), row.thinned->indices.size() / 4);
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

TEST_F(DrawerTest, PutsBackTheStateItFound) {
  static const GLenum States[] = {GL_ARRAY_BUFFER_BINDING,
                                  GL_ELEMENT_ARRAY_BUFFER_BINDING,
                                  GL_TEXTURE_BINDING_2D,
                                  GL_DRAW_FRAMEBUFFER_BINDING,
                                  GL_READ_FRAMEBUFFER_BINDING,
                                  GL_RENDERBUFFER_BINDING,
                                  GL_CURRENT_PROGRAM,
                                  GL_VIEWPORT,
                                  GL_BLEND,
                                  GL_DEPTH_FUNC,
                                  GL_DEPTH_WRITEMASK,
                                  GL_FRONT_FACE,
                                  GL_COLOR_CLEAR_VALUE,
                                  GL_CURRENT_COLOR,
                                  GL_LINE_WIDTH,
                                  GL_SCISSOR_BOX,
                                  GL_VERTEX_ARRAY,
                                  GL_NORMAL_ARRAY,
                                  GL_MATRIX_MODE,
                                  GL_MODELVIEW_MATRIX,
                                  GL_PROJECTION_MATRIX,
                                  GL_TEXTURE_MATRIX,
                                  GL_ATTRIB_STACK_DEPTH,
                                  GL_CLIENT_ATTRIB_STACK_DEPTH,
                                  GL_LIGHTING,
                                  GL_LIGHT_MODEL_AMBIENT};
  Shot shot;
  shot.root = element({texturedSheet(2), bumpyBall(QColor(0, 0, 255, 100), 20), strokes(KindLines, 3, 20, 1)});
  QOpenGLFunctions* gl = (*context)->functions();
  std::array<GLuint, 2> buffers{};
  gl->glGenBuffers(2, buffers.data());
  GLuint texture = 0;
  gl->glGenTextures(1, &texture);
  const auto combined = QOpenGLFramebufferObject::CombinedDepthStencil;
  QOpenGLFramebufferObject fbo(64, 64, combined), readFrom(64, 64, combined);
  const auto setUp = [&] {
    gl->glBindBuffer(GL_ARRAY_BUFFER, buffers[0]);
    gl->glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, buffers[1]);
    gl->glBindTexture(GL_TEXTURE_2D, texture);
    fbo.bind();
    gl->glBindFramebuffer(GL_READ_FRAMEBUFFER, readFrom.handle());
    glViewport(1, 2, 33, 44);
    for (const GLenum on : {GL_BLEND, GL_CULL_FACE, GL_SCISSOR_TEST}) glEnable(on);
    glBlendFunc(GL_ONE, GL_ONE);
    glDepthFunc(GL_GREATER);
    glFrontFace(GL_CW);
    glClearColor(0.1f, 0.2f, 0.3f, 0.4f);
    glColor4f(0.5f, 0.25f, 0.75f, 1.0f);
    glLineWidth(2);
    glScissor(0, 0, 10, 10);
    glEnableClientState(GL_VERTEX_ARRAY);
    for (const GLenum mode : {GL_MODELVIEW, GL_PROJECTION}) {
      glMatrixMode(mode);
      glLoadMatrixd((mode == GL_MODELVIEW ? math::translation(0, 0, -1) : math::scaling(0.5, 0.5, -0.2)).data());
    }
  };
  const auto capture = [&] {
    std::map<GLenum, std::array<double, 16>> state;
    for (const GLenum name : States) glGetDoublev(name, state[name].data());
    return state;
  };
  SceneDrawer drawer(viewer.getGlobalScene());
  for (const auto& [samples, look] : {std::pair{0, Look::Plain}, {4, Look::Plain}, {4, Look::Studio}}) {
    drawer.setSamples(samples);
    drawer.setLook(look);
    drawer.resize(64, 64);
    setUp();
    const auto before = capture();
    drawer.glDraw(shot.root, nullptr, math::translation(0, 0, -2), 0.0, 3, 7);
    for (const auto& [name, values] : capture())
      EXPECT_EQ(values, before.at(name)) << std::hex << name << " with " << samples << " samples, "
                                         << nameOf(look).toStdString();
  }
  fbo.release();
  gl->glDeleteTextures(1, &texture);
  gl->glDeleteBuffers(2, buffers.data());
}

TEST_F(DrawerTest, ThreadsShareBuffersAndMayDropThemAnywhere) {
  const auto countBuffers = [&] {
    int count = 0;
    for (GLuint name = 1; name < 1000; ++name) count += (*context)->functions()->glIsBuffer(name);
    return count;
  };
  const int before = countBuffers();
  Shot shot;
  shot.root = element({bumpyBall(Qt::green, 60)});
  std::vector<std::future<QImage>> pictures;
  for (int i = 0; i < 3; ++i)
    pictures.push_back(std::async(std::launch::async, [&] {
      const test::SharingContext own;
      return draw(shot);
    }));
  const QImage expected = draw(shot);
  for (auto& picture : pictures) EXPECT_EQ(picture.get(), expected);
  EXPECT_EQ(countBuffers(), before + 2) << "one copy for all contexts";

  std::thread([&] { shot.root = nullptr; }).join();
  test::SharingContext later;
  EXPECT_EQ(countBuffers(), before);
}

TEST_F(DrawerTest, MayGoAfterItsContextAndServeAnother) {
  Shot shot;
  shot.root = element({bumpyBall(Qt::green, 20), strokes(KindLines, 3, 10, 7)});
  shot.samples = 4;
  const QImage expected = draw(shot);
  auto drawer = std::make_unique<SceneDrawer>(viewer.getGlobalScene());
  for (int i = 0; i < 2; ++i) {
    context.reset();
    context = std::make_unique<test::SharingContext>();
    EXPECT_EQ(drawPart(*drawer, shot, 0, 0, shot.width, shot.height), expected);
    EXPECT_EQ(drawPart(*drawer, shot, 0, 0, 31, 77).size(), QSize(31, 77));
  }
  context.reset();
  drawer.reset();
  context = std::make_unique<test::SharingContext>();
  EXPECT_EQ(draw(shot), expected);
}

}  // namespace
}  // namespace nubo::scene
