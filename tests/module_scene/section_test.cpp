#include <QOpenGLFunctions>

#include "looksfixture.h"
#include "module_scene/mesh/crosssection.h"
#include "module_scene/mesh/preparation.h"
#include "module_scene/mesh/surface.h"

namespace nubo::scene {
namespace {

constexpr Plane AcrossZ{{0, 0, 1}, 0};

MaterialPointer unlit(const QColor& color) {
  MaterialPointer material(new Material);
  material->diffuse = {float(color.redF()), float(color.greenF()), float(color.blueF()), float(color.alphaF())};
  material->lit = false;
  return material;
}

double areaOf(const Geometry& faces) {
  double area = 0;
  for (std::size_t i = 0; i < faces.indices.size(); i += 3) {
    math::Vector3 p[3];
    for (std::size_t k = 0; k < 3; ++k)
      std::copy_n(&faces.positions[std::size_t(faces.indices[i + k]) * 3], 3, p[k].begin());
    area += 0.5 * cross(difference(p[1], p[0]), difference(p[2], p[0]))[2];  // as it is seen from beyond
  }
  return area;
}

/// Of a circle's polygon.
double discArea(double radius, int corners) { return 0.5 * corners * radius * radius * std::sin(2 * M_PI / corners); }

GeometryPointer box(double half, const MaterialPointer& material = nullptr) {
  return MeshBuilder(material).box({-half, -half, -half}, {half, half, half}).finish();
}

/// Some of its faces, from one to another, of which every `turned`th looks the other way.
GeometryPointer faces(const Geometry& all, std::size_t first, std::size_t last, std::size_t turned = 0) {
  const GeometryPointer result(new Geometry);
  result->positions = all.positions;
  for (std::size_t face = first; face < last; ++face) {
    const std::uint32_t* corners = &all.indices[3 * face];
    const bool turns = turned > 0 && face % turned == 0;
    result->indices.insert(result->indices.end(), {corners[0], corners[turns ? 2 : 1], corners[turns ? 1 : 2]});
  }
  prepare(*result);
  return result;
}

GeometryPointer both(const Geometry& a, const Geometry& b) {
  const GeometryPointer result(new Geometry(a));
  result->clusters.clear();
  for (const std::uint32_t index : b.indices) result->indices.push_back(index + std::uint32_t(a.vertexCount()));
  result->positions.insert(result->positions.end(), b.positions.begin(), b.positions.end());
  result->normals.clear();
  prepare(*result);
  return result;
}

TEST(CrossSection, ClosesWhatEnclosesARoom) {
  const GeometryPointer cube = box(1), within = box(0.5);
  const std::size_t count = cube->primitiveCount();
  const GeometryPointer cavity = faces(*within, 0, count, 1),
                        ball = MeshBuilder(nullptr).sphere({}, 1, 96, 48).finish();
  const GeometryPointer shifted = MeshBuilder(nullptr).box({0, 0, -1}, {3, 1, 1}).finish();
  struct Row {
    const char* name;
    std::vector<GeometryPointer> geometries;
    double height, area;
    bool open;
  };
  for (const Row& row : {Row{"a cube", {cube}, 0.25, 4, false},
                         {"at its corners", {cube}, -1, 4, false},
                         {"above it", {cube}, 1, 0, false},
                         {"a ball through its vertices", {ball}, 0, discArea(1, 96), false},
                         {"a room within a body", {both(*cube, *cavity)}, 0.25, 3, false},
                         {"bodies that overlap", {both(*cube, *shifted)}, 0.25, 6, false},
                         {"a room that is a part of its own", {cube, cavity}, 0.25, 3, false},
                         {"a body in another", {cube, within}, 0.25, 5, false},
                         {"parts of a surface", {faces(*cube, 0, 5), faces(*cube, 5, count)}, 0.25, 4, false},
                         {"faces of any direction", {faces(*cube, 0, count, 2)}, 0.25, 4, false},
                         {"a surface with a hole", {faces(*cube, 0, count - 2)}, 0.25, 0, true},
                         {"a hole that is not met", {faces(*ball, 0, ball->primitiveCount() - 90)}, 0, -1, false},
                         {"a body beside a torn one", {both(*ball, *faces(*cube, 0, count - 2))}, 0, -1, true},
                         {"nothing", {}, 0, 0, false}}) {
    SCOPED_TRACE(row.name);
    const CrossSection found = crossSection(row.geometries, {{0, 0, 1}, row.height});
    EXPECT_EQ(found.open, row.open);
    const double expected = row.area < 0 ? discArea(1, 96) : row.area;
    double area = 0;
    for (const SectionFace& face : found.faces) {
      area += areaOf(*face.faces);
      EXPECT_NEAR(areaOf(*face.faces), face.area, 1e-5);
    }
    EXPECT_NEAR(area, expected, 1e-5);
  }
}

Shot cutShot() {
  Shot shot;
  shot.root = element({box(0.5, unlit(Qt::red))});
  shot.section = new Section(AcrossZ);
  return shot;
}

int count(const QImage& picture, const QColor& color) {
  int result = 0;
  for (int y = 0; y < picture.height(); ++y)
    for (int x = 0; x < picture.width(); ++x) result += picture.pixelColor(x, y) == color;
  return result;
}

TEST_F(LooksTest, ASectionShowsTheInsideInTheColourOfTheBody) {
  Shot shot = cutShot();
  const double side = shot.height / 2.0 / (std::tan(0.40391905546154483) * 3);  // of a square at z = 0, in pixels
  QImage halves(2, 1, QImage::Format_RGB32);
  halves.setPixelColor(0, 0, QColor(40, 80, 120));
  halves.setPixelColor(1, 0, QColor(40, 80, 200));
  const MaterialPointer painted = unlit(Qt::white);
  painted->texture = new Texture(halves);
  const GeometryPointer textured = box(0.5, painted);
  for (std::size_t i = 0; i < textured->vertexCount(); ++i) {
    textured->texCoords.push_back(textured->positions[3 * i] > 0 ? 0.75f : 0.25f);
    textured->texCoords.push_back(0.5f);
  }
  const GeometryPointer colored = box(0.5, unlit(Qt::white));
  for (std::size_t i = 0; i < colored->vertexCount(); ++i)
    colored->colors.insert(colored->colors.end(), {10, 200, 30, 255});
  struct Row {
    const char* name;
    GeometryPointer body;
    QColor color;
  };
  for (const Row& row : {Row{"a material", box(0.5, unlit(Qt::red)), Qt::red},
                         {"a texture", textured, QColor(40, 80, 160)},
                         {"colours of vertices", colored, QColor(10, 200, 30)}})
    for (const Look look : {Look::Plain, Look::Studio}) {
      SCOPED_TRACE(row.name + nameOf(look).toStdString());
      shot.root = element({row.body});
      shot.look = look;
      EXPECT_NEAR(count(draw(shot), row.color), side * side, 2 * side);
    }
}

TEST_F(LooksTest, WhatLiesInABodyIsSeenInItsCut) {
  Shot shot = cutShot();
  shot.transform = shot.transform * math::rotation(0.5, {0, 1, 0});
  shot.root = element({MeshBuilder(unlit(Qt::red)).box({-0.5, -0.5, -1e-4}, {0.5, 0.5, 0.5}).finish()});
  const int alone = count(draw(shot), Qt::red);  // without sides
  const Element all = element({box(0.5, unlit(Qt::red)), box(0.8, unlit(Qt::blue))}), apart = element({});
  for (const auto& geometry : all->getGeometries()) apart->addChild(element({geometry}));
  for (const Element& root : {all, apart}) {
    shot.root = root;
    EXPECT_NEAR(count(draw(shot), Qt::red), alone, 30);
  }
}

TEST_F(LooksTest, WhatLiesBeyondASectionHidesNothing) {
  Shot shot = cutShot();
  const GeometryPointer screen = MeshBuilder(unlit(Qt::green)).box({-2, -2, 0.6}, {2, 2, 0.7}).finish();
  // Enough points to be sieved, half of them close before the others; no two that overlap lie equally far away.
  const auto cloud = [](bool whole) {
    const GeometryPointer points(new Geometry);
    points->kind = KindPoints;
    points->width = 3;
    points->material = unlit(Qt::white);
    for (int i = 0; i < 60000; ++i) {
      const bool isBeyond = i % 2 == 1;
      if (isBeyond && !whole) continue;
      const double turn = 2.4 * i, radius = 0.9 * std::sqrt(i / 60000.0), depth = 0.02 + 0.1 * i / 60000;
      for (const double value : {radius * std::cos(turn), radius * std::sin(turn), isBeyond ? depth : -depth})
        points->positions.push_back(float(value));
      for (const int value : {0, isBeyond ? 255 : i % 200, 255, 255}) points->colors.push_back(std::uint8_t(value));
      points->indices.push_back(std::uint32_t(points->indices.size()));
    }
    prepare(*points);
    return element({points});
  };
  for (const Look look : {Look::Plain, Look::Studio}) {
    SCOPED_TRACE(nameOf(look).toStdString());
    shot.look = look;
    shot.root = element({screen, box(0.5, unlit(Qt::red))});
    EXPECT_EQ(count(draw(shot), Qt::green), 0);
    shot.root = cloud(true);
    const QImage cut = draw(shot);
    shot.root = cloud(false);
    const test::Difference difference = compare(cut, draw(shot));
    EXPECT_GT(difference.covered, 20000);
    EXPECT_LE(difference.changed, 50) << difference;
  }
  // Marks lie over the scene and are not of it.
  shot.root = element({screen});
  shot.root->setLayer(LayerMarkers);
  shot.layers = 65535;
  EXPECT_GT(count(draw(shot), Qt::green), 10000);
}

Shot cutStudio() {
  Shot shot = shotFromFront(element({MeshBuilder(nullptr).sphere({0, 0, 0.6}, 0.6).finish(),
                                     MeshBuilder(nullptr).box({-0.9, -0.9, -0.1}, {0.9, 0.9, 0}).finish(),
                                     MeshBuilder(nullptr).sphere({0.5, 0.3, 0.3}, 0.3).finish()}));
  gui::Camera camera;
  camera.azimuth = 40;
  camera.elevation = 30;
  shot.transform = camera.transform();
  shot.section = new Section({{0.6, 0, 0.8}, 0.55});
  shot.contact = shot.ground = true;
  shot.samples = 4;
  return shot;
}

TEST_F(LooksTest, ASectionIsTheSameInTiles) {
  Shot shot = cutStudio();
  for (const Look look : {Look::Studio, Look::Technical, Look::Plain}) {
    SCOPED_TRACE(nameOf(look).toStdString());
    shot.look = look;
    const QImage whole = draw(shot);
    Shot uncut = shot;
    uncut.section = nullptr;
    EXPECT_GT(compare(whole, draw(uncut)).clear, 3000);
    const test::Difference difference = compare(drawTiled(shot, 100), whole);
    EXPECT_LE(difference.changed, 3 + difference.edges / (look == Look::Technical ? 128 : 256)) << difference;
  }
}

// Edges, shades and the shadow on the ground are those of what is left.
TEST_F(LooksTest, WhatIsCutLooksLikeWhatWasNeverThere) {
  Shot cut = cutStudio(), small = cut;
  const auto withColumn = [](double height) {
    return element({MeshBuilder(nullptr).box({-0.9, -0.9, -0.2}, {0.9, 0.9, 0}).finish(),
                    MeshBuilder(nullptr).box({-0.5, -0.5, 0}, {0.5, 0.5, height}).finish()});
  };
  cut.root = withColumn(1);
  cut.section = new Section({{0, 0, 1}, 0.3});
  small.root = withColumn(0.3);
  small.section = nullptr;
  for (const Look look : {Look::Studio, Look::Technical, Look::Plain}) {
    cut.look = small.look = look;
    EXPECT_LE(compare(draw(cut), draw(small)).clear, 4) << nameOf(look).toStdString();
  }
}

}  // namespace
}  // namespace nubo::scene
