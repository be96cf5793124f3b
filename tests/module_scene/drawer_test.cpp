#include <gmock/gmock.h>

#include <QOpenGLFunctions>
#include <array>
#include <map>
#include <thread>

#include "module_scene/draw/drawingturn.h"
#include "module_scene/mesh/coarsening.h"
#include "module_scene/mesh/meshbuilder.h"
#include "module_scene/mesh/preparation.h"
#include "support/glfixture.h"

namespace nubo::scene {
namespace {

using test::compare;
using test::Shot;

using Element = util::YPointer<SceneElement>;
using GeometryPointer = util::YPointer<Geometry>;

util::YPointer<Material> paint(const QColor& color, bool lit = false) {
  util::YPointer<Material> material(new Material);
  material->diffuse = {float(color.redF()), float(color.greenF()), float(color.blueF()), float(color.alphaF())};
  material->lit = lit;
  return material;
}

Element element(std::initializer_list<GeometryPointer> geometries) {
  Element result(new SceneElement);
  for (const auto& geometry : geometries) result->addGeometry(geometry);
  return result;
}

// Seen from (0, 0, 3) a quad of this half size at z = 0 is a square in the middle.
GeometryPointer quad(const util::YPointer<Material>& material, double half = 0.5, double z = 0, double turn = 0) {
  GeometryPointer geometry(new Geometry);
  geometry->material = material;
  for (const auto& corner : {std::array<double, 2>{-1, -1}, {1, -1}, {1, 1}, {-1, 1}}) {
    const auto p = math::transformPoint(math::rotation(turn, {0, 0, 1}), {half * corner[0], half * corner[1], z});
    geometry->positions.insert(geometry->positions.end(), {float(p[0]), float(p[1]), float(p[2])});
  }
  geometry->indices = {0, 1, 2, 0, 2, 3};
  prepare(*geometry);
  return geometry;
}

GeometryPointer strokes(Kind kind, float width, int count, unsigned seed) {
  GeometryPointer geometry(new Geometry);
  geometry->kind = kind;
  geometry->width = width;
  geometry->material = paint(QColor(250, 200, 40));
  const auto next = [&seed] {
    seed = seed * 1664525u + 1013904223u;
    return float(seed >> 8) / float(1 << 24) * 2.6f - 1.3f;
  };
  for (int i = 0; i < count; ++i) {
    for (int axis = 0; axis < 3; ++axis) geometry->positions.push_back(next());
    geometry->indices.push_back(std::uint32_t(i));
  }
  prepare(*geometry);
  return geometry;
}

// A closed, bumpy ball that hides parts of itself, lit.
GeometryPointer bumpyBall(const QColor& color, int steps = 160, double radius = 1.0) {
  std::vector<MeshBuilder::Point2> profile;
  for (int i = 0; i <= steps; ++i) {
    const double angle = M_PI * i / steps, r = radius * (1 + 0.12 * std::sin(14 * angle));
    profile.push_back({i == 0 || i == steps ? 0.0 : r * std::sin(angle), -r * std::cos(angle)});
  }
  return MeshBuilder(paint(color, true)).turned(profile, false, 2 * steps).finish();
}

// The same triangles without anything that lets the drawer leave some out.
GeometryPointer drawnWhole(const GeometryPointer& geometry) {
  GeometryPointer plain(new Geometry);
  plain->kind = geometry->kind;
  plain->width = geometry->width;
  plain->material = geometry->material;
  plain->positions = geometry->positions;
  plain->normals = geometry->normals;
  plain->colors = geometry->colors;
  plain->texCoords = geometry->texCoords;
  plain->indices = geometry->indices;
  plain->box = geometry->box;
  plain->transparent = geometry->transparent;  // but not closed
  Cluster all;
  all.count = std::uint32_t(plain->indices.size());
  all.vertexCount = std::uint32_t(plain->vertexCount());
  all.min.fill(-1e6f);
  all.max.fill(1e6f);
  plain->clusters = {all};
  return plain;
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

  const QRgb nothing = qRgba(40, 80, 120, 0);
};

TEST_F(DrawerTest, PutsWhatIsThereUprightIntoTheMiddleAndLeavesTheRest) {
  Shot shot;
  const auto up = paint(Qt::red), right = paint(Qt::blue);
  const auto high = element({quad(up, 0.2)}), aside = element({quad(right, 0.2)});
  high->setTransform(math::translation(0, 0.8, 0));
  aside->setTransform(math::translation(0.8, 0, 0));
  shot.root = element({});
  shot.root->addChild(high);
  shot.root->addChild(aside);
  for (const int samples : {0, 4, 1000}) {
    shot.samples = samples;
    const QImage picture = draw(shot);
    const int offset = int(0.8 / 3 / std::tan(0.40391905546154483) * 128);
    EXPECT_EQ(picture.pixel(128, 128 - offset), qRgba(255, 0, 0, 255)) << samples;
    EXPECT_EQ(picture.pixel(128 + offset, 128), qRgba(0, 0, 255, 255)) << samples;
    EXPECT_EQ(picture.pixel(128, 128 + offset), nothing) << samples;
    EXPECT_EQ(picture.pixel(0, 0), nothing) << samples;
  }
}

TEST_F(DrawerTest, SmoothedEdgesKeepTheirColorInPicturesAndBlendInFrames) {
  Shot shot;
  shot.root = element({quad(paint(QColor(200, 100, 50)), 0.5, 0, 0.3)});
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
        ASSERT_EQ(pixel, nothing);
        ASSERT_EQ(blended, nothing);
        continue;
      }
      edges += alpha < 255;
      // A quarter covered is kept in bytes as a quarter of the colour: half a step of that is two of the colour.
      const int limit = alpha < 255 ? 2 : 0;
      ASSERT_NEAR(qRed(pixel), 200, limit);
      ASSERT_NEAR(qGreen(pixel), 100, limit);
      ASSERT_NEAR(qBlue(pixel), 50, limit);
      ASSERT_NEAR(qRed(blended), (200 * alpha + 40 * (255 - alpha)) / 255.0, 1.5);
      ASSERT_NEAR(qBlue(blended), (50 * alpha + 120 * (255 - alpha)) / 255.0, 1.5);
    }
  EXPECT_GT(edges, 200);
}

TEST_F(DrawerTest, TransparencyIsSortedAndCarriedInAlpha) {
  const auto red = quad(paint(QColor(255, 0, 0, 128)), 0.5, 0.2), blue = quad(paint(QColor(0, 0, 255, 128)), 0.5, -0.2);
  const auto green = quad(paint(QColor(0, 255, 0)), 0.7, -0.6), hidden = quad(paint(QColor(9, 9, 9, 200)), 0.5, -0.9);
  const auto centerOf = [&](std::initializer_list<GeometryPointer> geometries, int layers) {
    Shot shot;
    shot.root = element(geometries);
    shot.layers = layers;
    return draw(shot).pixelColor(128, 128);
  };
  const double a = 128 / 255.0;
  const auto expectNear = [](const QColor& color, double r, double g, double b, double alpha) {
    // Each of two layers is rounded to a byte, and dividing by an alpha of half doubles that.
    EXPECT_NEAR(color.red(), r, 2);
    EXPECT_NEAR(color.green(), g, 2);
    EXPECT_NEAR(color.blue(), b, 2);
    EXPECT_NEAR(color.alpha(), alpha, 1);
  };
  expectNear(centerOf({red}, 3), 255, 0, 0, 128);
  expectNear(centerOf({red}, 65535), 255 * a + 40 * (1 - a), 80 * (1 - a), 120 * (1 - a), 128);
  const double both = 1 - (1 - a) * (1 - a);
  for (const auto& order : {std::initializer_list<GeometryPointer>{red, blue}, {blue, red}})
    expectNear(centerOf(order, 3), 255 * a / both, 0, 255 * a * (1 - a) / both, 255 * both);
  const QColor overGreen = centerOf({red, hidden, green}, 3);
  EXPECT_EQ(overGreen.alpha(), 255) << "what is opaque stays so behind glass";
  expectNear(overGreen, 255 * a, 255 * (1 - a), 0, 255);
  EXPECT_EQ(centerOf({red, green}, LayerModel), QColor(0, 255, 0));
  expectNear(centerOf({red, green}, LayerTransparent), 255, 0, 0, 128);
}

TEST_F(DrawerTest, AlphaOfAnOpaqueMaterialMeansNothing) {
  QImage clear(4, 4, QImage::Format_ARGB32);
  clear.fill(QColor(200, 100, 50, 20));
  const util::YPointer<Material> material = paint(QColor(255, 255, 255, 30));
  material->alphaMode = AlphaMode::Opaque;
  material->texture = new Texture(clear);
  const GeometryPointer picture = MeshBuilder(material).picture({-1, -1, 0}, {2, 0, 0}, {0, 2, 0}).finish();
  const GeometryPointer coloured = quad(material);
  coloured->colors.assign(coloured->vertexCount() * 4, 60);
  prepare(*coloured);
  for (const auto& [geometry, color] : {std::pair{picture, QColor(200, 100, 50)}, {coloured, QColor(60, 60, 60)}}) {
    EXPECT_FALSE(geometry->transparent);
    Shot shot;
    shot.root = element({geometry});
    EXPECT_EQ(draw(shot).pixelColor(128, 128), color);
  }
}

TEST_F(DrawerTest, LayersAndKindsSelect) {
  Shot shot;
  const Element overlay = element({quad(paint(Qt::red), 0.3, 0.1)}),
                below = element({quad(paint(Qt::white), 0.1, 0.2)});
  overlay->setLayer(LayerAxes);
  overlay->addChild(below);
  GeometryPointer point(new Geometry);
  point->kind = KindPoints;
  point->width = 9;
  point->positions = {0, 0, 0.5f};
  point->indices = {0};
  point->material = paint(Qt::yellow);
  prepare(*point);
  shot.root = element({quad(paint(Qt::green)), point});
  shot.root->addChild(overlay);
  const auto center = [&](int layers, int kinds) {
    shot.layers = layers;
    shot.kinds = kinds;
    return draw(shot).pixelColor(128, 128);
  };
  EXPECT_EQ(center(3, KindFaces), QColor(Qt::green));
  EXPECT_EQ(center(65535, KindFaces), QColor(Qt::white)) << "children belong to their parent's overlay";
  EXPECT_EQ(center(3, 7), QColor(Qt::yellow));
  EXPECT_EQ(center(3, KindLines), QColor::fromRgba(nothing));
  shot.root->setVisible(false);
  EXPECT_EQ(center(65535, 7), QColor::fromRgba(nothing));
}

// Positions in the whole and in a tile round differently, by about 1/1000 of a pixel, and are then put on a grid of
// 1/256 of a pixel. So an edge may move by a step of that grid, which changes up to one in 256 of the samples along
// it, and a colour may fall on the other side of a byte's limit. A border at which something breaks changes far more.
TEST_F(DrawerTest, TilesFitTogetherToThePictureDrawnAtOnce) {
  util::YPointer<Material> textured = paint(Qt::white);
  QImage checks(64, 64, QImage::Format_RGB32);
  for (int y = 0; y < 64; ++y)
    for (int x = 0; x < 64; ++x) checks.setPixel(x, y, (x / 8 + y / 8) % 2 ? 0xffffff : 0x202020);
  textured->texture = new Texture(checks);
  struct Case {
    const char* name;
    GeometryPointer geometry;
    int samples;
  };
  const Case cases[] = {
      {"lit mesh", bumpyBall(QColor(180, 180, 60)), 0},
      {"smoothed mesh", bumpyBall(QColor(180, 180, 60)), 4},
      {"glass", bumpyBall(QColor(90, 180, 220, 100)), 0},
      {"texture", MeshBuilder(textured).picture({-1, -1, 0}, {2, 0.3, 0}, {0, 2, 0.5}).finish(), 0},
      {"thin lines", strokes(KindLines, 1, 80, 1), 0},
      {"wide lines", strokes(KindLines, 7, 80, 2), 0},
      {"smoothed wide lines", strokes(KindLines, 4, 80, 3), 4},
      {"points", strokes(KindPoints, 1, 2000, 4), 0},
      {"wide points", strokes(KindPoints, 12, 400, 5), 0},
      {"smoothed wide points", strokes(KindPoints, 9, 400, 6), 4},
  };
  for (const Case& c : cases)
    for (const int edge : {512, 100, 37}) {
      Shot shot;
      shot.root = element({c.geometry});
      shot.width = 701;
      shot.height = 555;
      shot.samples = c.samples;
      const QImage whole = draw(shot), tiled = drawTiled(shot, edge);
      const auto difference = compare(whole, tiled);
      EXPECT_GT(difference.covered, 1000) << c.name;
      EXPECT_LE(difference.changed, std::max(c.samples, 1) * difference.edges / 256)
          << c.name << ' ' << edge << ": " << difference;
      EXPECT_LE(difference.rounded, shot.width * shot.height / 2000) << c.name << ' ' << edge << ": " << difference;
      EXPECT_LE(changedAlongBorders(whole, tiled, edge), 2 + difference.changed * 8 / edge)
          << c.name << ' ' << edge << ": " << difference;
    }
}

TEST_F(DrawerTest, WidePointAcrossATilesCornerIsWholeAndGrowsWithThePicture) {
  GeometryPointer point(new Geometry);
  point->kind = KindPoints;
  point->width = 11;
  point->positions = {0, 0, 0};
  point->indices = {0};
  point->material = paint(Qt::red);
  prepare(*point);
  Shot shot;
  shot.root = element({point});
  shot.width = shot.height = 256;  // so that four tiles of 128 meet in the point's centre
  shot.transform = math::translation(0.002, 0.003, -3);
  const auto coveredIn = [](const QImage& picture) {
    int covered = 0;
    for (int y = 0; y < 256; ++y)
      for (int x = 0; x < 256; ++x) covered += picture.pixel(x, y) == qRgba(255, 0, 0, 255);
    return covered;
  };
  EXPECT_EQ(coveredIn(drawTiled(shot, 128)), 11 * 11);

  // The panel shows an angle of 45 degrees, the shot about one more: 11 * 2 * tan(22.5) / tan(23.14) is 21.3.
  gui::ScenePanel panel;
  panel.resize(300, 128);
  viewer.setActivePanel(&panel);
  EXPECT_EQ(coveredIn(drawTiled(shot, 128)), 21 * 21);
  panel.resize(300, 1);
  viewer.setActivePanel(nullptr);
  viewer.setActivePanel(&panel);
  EXPECT_GT(coveredIn(drawTiled(shot, 128)), 60 * 60) << "as wide as OpenGL allows, at least 63";
}

TEST_F(DrawerTest, LeavingOutWhatCannotBeSeenChangesNoPixel) {
  struct Case {
    const char* name;
    math::Matrix4 transform;
  };
  const Case cases[] = {
      {"outside", math::translation(0, 0, -3)},
      {"turned", math::translation(0.2, -0.1, -2) * math::rotation(1.1, {0.6, 0.8, 0})},
      {"mirrored", math::translation(0, 0, -3) * math::scaling(-1, 1, 1)},
      {"stretched", math::translation(0, 0, -3) * math::rotation(0.4, {1, 0, 0}) * math::scaling(1, 0.3, 1.6)},
      {"from the inside", math::translation(0.1, 0, -0.3)},
      {"cut open by the near plane", math::translation(0, 0, -1.02)},
      {"partly beyond the far plane", math::translation(0, 0, -100.2)},
  };
  // The smooth ball's clusters each look one way, so that many may be left out; the other hides parts of itself.
  const GeometryPointer smooth = MeshBuilder(paint(Qt::cyan, true)).sphere({0, 0, 0}, 1).finish();
  const GeometryPointer bumpy = bumpyBall(QColor(200, 90, 60));
  for (const GeometryPointer& ball : {smooth, bumpy}) {
    ASSERT_TRUE(ball->closed);
    ASSERT_GT(ball->clusters.size(), 20u);
  }
  for (const Case& c : cases)
    for (const auto& [ball, samples] : {std::pair(smooth, 0), {bumpy, 0}, {bumpy, 4}}) {
      Shot shot;
      shot.width = shot.height = 500;
      shot.transform = c.transform;
      shot.samples = samples;
      shot.root = element({ball});
      const QImage fast = draw(shot);
      shot.root = element({drawnWhole(ball)});
      const QImage plain = draw(shot);
      // Where a front and a back face share an edge their depths there may round to the same, above all far away.
      const auto difference = compare(fast, plain);
      EXPECT_GT(difference.covered, 20) << c.name;
      EXPECT_LE(difference.changed + difference.rounded, 4 + difference.edges / 256)
          << c.name << ", " << samples << " samples: " << difference;
    }
}

TEST_F(DrawerTest, CoarseVersionsLookAlikeFromAfarAndChangeNoWholePicture) {
  const auto ball = [](Kind kind) {
    const GeometryPointer result = bumpyBall(QColor(200, 90, 60));
    result->kind = kind;
    result->width = 3;
    result->clusters.clear();
    prepare(*result);
    return result;
  };
  for (const Kind kind : {KindFaces, KindPoints}) {
    SCOPED_TRACE(kind);
    Shot shot;
    shot.width = shot.height = 500;
    shot.root = element({ball(kind)});
    const QImage whole = draw(shot);
    const GeometryPointer geometry = ball(kind);
    shot.root = element({geometry});
    makeCoarseVersions(*shot.root);
    ASSERT_EQ(geometry->coarseVersions.size(), 2u);
    EXPECT_LT(geometry->coarseIndices.size(), geometry->indices.size() / 4);
    EXPECT_GT(geometry->coarseVersions[0].first.back(), geometry->coarseIndices.size() * 2 / 3) << "the coarser last";
    EXPECT_EQ(compare(draw(shot), whole).greatest, 0);
    // The outline moves by a cell at most.
    for (const auto& [detail, share] : {std::pair(24.0, 25), {100.0, 10}}) {
      shot.detail = detail;
      const QImage coarse = draw(shot);
      EXPECT_GT(compare(coarse, whole).changed, 500) << "it is drawn whole";
      if (geometry->kind != KindFaces) continue;
      int outline = 0;
      for (int y = 0; y < whole.height(); ++y)
        for (int x = 0; x < whole.width(); ++x)
          outline += (qAlpha(coarse.pixel(x, y)) > 0) != (qAlpha(whole.pixel(x, y)) > 0);
      EXPECT_LT(outline, compare(whole, whole).covered / share) << detail;
    }
    shot.layers = LayerMarkers;
    shot.root->setLayer(LayerMarkers);
    EXPECT_EQ(compare(draw(shot), whole).greatest, 0);
  }
}

TEST_F(DrawerTest, PartsGiveThePictureThatIsDrawnAtOnce) {
  for (const int samples : {0, 4})
    for (const Element& root : {element({bumpyBall(QColor(200, 90, 60))}),
                                element({bumpyBall(QColor(200, 90, 60)), bumpyBall(QColor(90, 140, 220, 120), 120, 1.2),
                                         strokes(KindLines, 5, 3000, 7)})}) {
      Shot shot;
      shot.root = root;
      shot.samples = samples;
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
      EXPECT_EQ(compare(inParts, whole).greatest, 0) << samples << " samples: " << compare(inParts, whole);
      QImage inTurns;
      DrawingTurn::setShared();
      std::thread([&] {
        const test::SharingContext own;
        inTurns = draw(shot);
      }).join();
      EXPECT_EQ(compare(inTurns, whole).greatest, 0) << samples << " samples: " << compare(inTurns, whole);
    }
}

TEST_F(DrawerTest, PutsBackTheStateItFound) {
  util::YPointer<Material> glass = paint(QColor(0, 0, 255, 100), true);
  QImage checks(4, 4, QImage::Format_RGB32);
  checks.fill(Qt::white);
  glass->texture = new Texture(checks);
  Shot shot;
  shot.root = element({MeshBuilder(glass).picture({-1, -1, 0}, {2, 0, 0}, {0, 2, 0}).finish(),
                       strokes(KindLines, 3, 20, 1), bumpyBall(Qt::green, 20)});

  QOpenGLFunctions* gl = (*context)->functions();
  std::array<GLuint, 2> buffers{};
  gl->glGenBuffers(2, buffers.data());
  GLuint texture = 0;
  gl->glGenTextures(1, &texture);
  QOpenGLFramebufferObject fbo(64, 64, QOpenGLFramebufferObject::CombinedDepthStencil);
  const auto setUp = [&] {
    gl->glBindBuffer(GL_ARRAY_BUFFER, buffers[0]);
    gl->glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, buffers[1]);
    gl->glBindTexture(GL_TEXTURE_2D, texture);
    fbo.bind();
    glViewport(1, 2, 33, 44);
    glEnable(GL_BLEND);
    glBlendFunc(GL_ONE, GL_ONE);
    glDepthFunc(GL_GREATER);
    glEnable(GL_CULL_FACE);
    glFrontFace(GL_CW);
    glClearColor(0.1f, 0.2f, 0.3f, 0.4f);
    glColor4f(0.5f, 0.25f, 0.75f, 1.0f);
    glLineWidth(2);
    glEnable(GL_SCISSOR_TEST);
    glScissor(0, 0, 10, 10);
    glEnableClientState(GL_VERTEX_ARRAY);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    glTranslated(0, 0, -1);
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    glFrustum(-0.01, 0.02, -0.03, 0.04, SceneDrawer::ZNEAR, SceneDrawer::ZFAR);
  };
  const auto capture = [&] {
    std::map<GLenum, std::array<double, 16>> state;
    for (const GLenum name : {GL_ARRAY_BUFFER_BINDING,
                              GL_ELEMENT_ARRAY_BUFFER_BINDING,
                              GL_TEXTURE_BINDING_2D,
                              GL_DRAW_FRAMEBUFFER_BINDING,
                              GL_READ_FRAMEBUFFER_BINDING,
                              GL_RENDERBUFFER_BINDING,
                              GL_CURRENT_PROGRAM,
                              GL_VIEWPORT,
                              GL_BLEND,
                              GL_BLEND_SRC,
                              GL_BLEND_DST,
                              GL_DEPTH_FUNC,
                              GL_DEPTH_WRITEMASK,
                              GL_CULL_FACE,
                              GL_CULL_FACE_MODE,
                              GL_FRONT_FACE,
                              GL_COLOR_CLEAR_VALUE,
                              GL_CURRENT_COLOR,
                              GL_LINE_WIDTH,
                              GL_POINT_SIZE,
                              GL_SCISSOR_TEST,
                              GL_SCISSOR_BOX,
                              GL_VERTEX_ARRAY,
                              GL_NORMAL_ARRAY,
                              GL_COLOR_ARRAY,
                              GL_TEXTURE_COORD_ARRAY,
                              GL_VERTEX_ARRAY_BUFFER_BINDING,
                              GL_MATRIX_MODE,
                              GL_MODELVIEW_MATRIX,
                              GL_PROJECTION_MATRIX,
                              GL_TEXTURE_MATRIX,
                              GL_MODELVIEW_STACK_DEPTH,
                              GL_ATTRIB_STACK_DEPTH,
                              GL_CLIENT_ATTRIB_STACK_DEPTH,
                              GL_LIGHTING,
                              GL_NORMALIZE,
                              GL_TEXTURE_2D,
                              GL_LIGHT_MODEL_TWO_SIDE,
                              GL_LIGHT_MODEL_AMBIENT,
                              GL_COLOR_MATERIAL,
                              GL_DITHER,
                              GL_ACTIVE_TEXTURE})
      glGetDoublev(name, state[name].data());
    return state;
  };
  SceneDrawer drawer(viewer.getGlobalScene());
  for (const int samples : {0, 4}) {
    drawer.setSamples(samples);
    drawer.resize(64, 64);
    setUp();
    const auto before = capture();
    drawer.glDraw(shot.root, nullptr, math::translation(0, 0, -2), 0.0, 3, 7);
    for (const auto& [name, values] : capture())
      EXPECT_EQ(values, before.at(name)) << std::hex << name << " with " << samples << " samples";
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
  shot.root = element({bumpyBall(QColor(200, 90, 60), 60)});
  std::array<QImage, 3> pictures;
  std::vector<std::thread> threads;
  for (QImage& picture : pictures)
    threads.emplace_back([&] {
      test::SharingContext own;
      ASSERT_TRUE(own.isValid());
      SceneDrawer drawer(viewer.getGlobalScene());
      picture = drawPart(drawer, shot, 0, 0, shot.width, shot.height);
    });
  for (std::thread& thread : threads) thread.join();
  const QImage expected = draw(shot);
  for (const QImage& picture : pictures) EXPECT_EQ(picture, expected);
  EXPECT_EQ(countBuffers(), before + 2) << "one copy for all contexts";

  std::thread([&] { shot.root = nullptr; }).join();
  test::SharingContext later;
  EXPECT_EQ(countBuffers(), before);
}

TEST_F(DrawerTest, MayGoAfterItsContextAndServeAnother) {
  Shot shot;
  shot.root = element({bumpyBall(QColor(200, 90, 60), 20), strokes(KindLines, 3, 10, 7)});
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
