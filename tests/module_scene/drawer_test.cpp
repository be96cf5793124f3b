#include <gmock/gmock.h>

#include <QCoreApplication>
#include <QResizeEvent>
#include <set>

#include "drawerfixture.h"

namespace nubo::scene {
namespace {

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
  for (const int samples : {4, 64}) {  // more than some OpenGLs have
    SCOPED_TRACE(samples);
    shot.samples = samples;
    shot.layers = 3;
    const QImage picture = draw(shot);
    shot.layers = 65535;
    const QImage frame = draw(shot);
    int edges = 0;
    std::set<int> shares;
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
        shares.insert(alpha);
        // A quarter covered is kept in bytes as a quarter of the colour: half a step of that is two of the colour.
        const int limit = alpha < 255 ? 1 + 128 / alpha : 0;
        ASSERT_LE(test::distance(pixel, qRgba(200, 100, 50, alpha)), limit);
        const auto mixed = [&](int own, int behind) { return (own * alpha + behind * (255 - alpha)) / 255; };
        ASSERT_LE(test::distance(blended, qRgba(mixed(200, 40), mixed(100, 80), mixed(50, 120), alpha)), 2);
      }
    EXPECT_GT(edges, 200);
    EXPECT_GE(int(shares.size()), samples / 2);
  }
}

TEST_F(DrawerTest, GradientsAndImagesLieBehindFramesWhoseAlphaStays) {
  // Covers what is as wide as high with what lies between its pixels' middles.
  QImage image(2, 1, QImage::Format_RGB32);
  image.setPixel(0, 0, qRgb(250, 0, 0));
  image.setPixel(1, 0, qRgb(0, 0, 250));
  Shot shot;
  shot.root = element({square(QColor(200, 100, 50))}, math::rotation(0.3, {0, 0, 1}));
  for (const int samples : {0, 4})
    for (const bool hasImage : {false, true}) {
      viewer.getGlobalScene()->setBackground({QColor(0, 0, 250), QColor(250, 0, 0), hasImage ? image : QImage()});
      shot.samples = samples;
      shot.layers = 3;
      const QImage picture = draw(shot);
      shot.layers = 65535;
      const QImage frame = draw(shot);
      for (int y = 0; y < frame.height(); ++y)
        for (int x = 0; x < frame.width(); ++x) {
          const int alpha = qAlpha(picture.pixel(x, y));
          ASSERT_EQ(qAlpha(frame.pixel(x, y)), alpha);
          const double blue = 250 * (hasImage ? (x + 0.5) / frame.width() : (y + 0.5) / frame.height());
          const auto mixed = [&](int own, double behind) { return int((own * alpha + behind * (255 - alpha)) / 255); };
          ASSERT_LE(
              test::distance(frame.pixel(x, y), qRgba(mixed(200, 250 - blue), mixed(100, 0), mixed(50, blue), alpha)),
              3)
              << x << ", " << y << ": " << samples << hasImage;
        }
    }
}

TEST_F(DrawerTest, TexturesThatAreMadeSmallerShowTheMeansOfTheirPixels) {
  constexpr int Shown = 8, Together = 8;  // pixels along an edge, and those of the texture that become one
  QImage noise(Shown * Together, Shown * Together, QImage::Format_RGB32);
  int sums[Shown][Shown]{};
  for (int y = 0; y < noise.height(); ++y)
    for (int x = 0; x < noise.width(); ++x) {
      const int value = (x * 7919 + y * 104729 + x * y * 31) % 160 + x + y / 2;
      noise.setPixel(x, y, qRgb(value, 255 - value, value / 2));
      sums[y / Together][x / Together] += value;
    }
  const auto size = float(3 * std::tan(0.40391905546154483));  // of what fills the view
  const GeometryPointer wall = square(Qt::white, double(size));
  wall->material->texture = new Texture(noise);
  for (std::size_t i = 0; i < wall->positions.size(); i += 3)
    for (std::size_t axis = 0; axis < 2; ++axis) wall->texCoords.push_back(wall->positions[i + axis] > 0 ? 1 : 0);
  Shot shot;
  shot.root = element({wall});
  shot.width = shot.height = Shown;
  const QImage picture = draw(shot);
  for (int y = 0; y < Shown; ++y)
    for (int x = 0; x < Shown; ++x) {
      const int mean = sums[y][x] / (Together * Together);
      ASSERT_LE(test::distance(picture.pixel(x, y), qRgb(mean, 255 - mean, mean / 2)), 3) << x << ", " << y;
    }
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
                      {"very smooth lines", strokes(KindLines, 2, 80, 5), 16},
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

  // The picture is twice as high as the panel.
  gui::ScenePanel panel;
  panel.resize(300, 128);
  viewer.setActivePanel(&panel);
  EXPECT_EQ(covered(), 22 * 22);
  panel.resize(300, 2);
  QResizeEvent resized(panel.size(), {});
  QCoreApplication::sendEvent(&panel, &resized);  // which hidden widgets get when they are shown
  EXPECT_GT(covered(), 60 * 60) << "as wide as OpenGL allows, at least 63";
}

}  // namespace
}  // namespace nubo::scene
