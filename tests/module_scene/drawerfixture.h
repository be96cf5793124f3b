// What the drawer is tested with: simple shapes, and a context to draw them in.
#pragma once

#include <array>

#include "module_scene/mesh/meshbuilder.h"
#include "support/glfixture.h"
#include "support/quad.h"

namespace nubo::scene {

using test::compare;
using test::expectAlmostEqual;
using test::Shot;

using Element = util::YPointer<SceneElement>;
using GeometryPointer = util::YPointer<Geometry>;

inline util::YPointer<Material> paint(const QColor& color, bool lit = false) {
  util::YPointer<Material> material(new Material);
  material->diffuse = {float(color.redF()), float(color.greenF()), float(color.blueF()), float(color.alphaF())};
  material->lit = lit;
  return material;
}

inline Element element(std::initializer_list<GeometryPointer> geometries,
                       const math::Matrix4& transform = math::Matrix4()) {
  Element result(new SceneElement);
  for (const auto& geometry : geometries) result->addGeometry(geometry);
  result->setTransform(transform);
  return result;
}

// Seen from (0, 0, 3) a square of this half size at z = 0 is a square in the middle.
inline GeometryPointer square(const QColor& color, double half = 0.5, double z = 0) {
  const float h = float(half), depth = float(z);
  return test::quad({-h, -h, depth, h, -h, depth, h, h, depth, -h, h, depth}, paint(color)->diffuse);
}

// Points, or lines between them, anywhere in view.
inline GeometryPointer strokes(Kind kind, float width, int count, unsigned seed) {
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

// Of so many places on a side, at z = 0.
inline std::vector<math::Vector3> grid(int side, double left, double low, double step) {
  std::vector<math::Vector3> places;
  places.reserve(std::size_t(side) * std::size_t(side));
  for (int row = 0; row < side; ++row)
    for (int column = 0; column < side; ++column) places.push_back({left + step * column, low + step * row, 0});
  return places;
}

// A closed, bumpy ball that hides parts of itself, lit.
inline GeometryPointer bumpyBall(const QColor& color = QColor(200, 90, 60), int steps = 160, double radius = 1.0,
                                 double bumps = 0.12) {
  std::vector<MeshBuilder::Point2> profile;
  for (int i = 0; i <= steps; ++i) {
    const double angle = M_PI * i / steps, r = radius * (1 + bumps * std::sin(14 * angle));
    profile.push_back({i == 0 || i == steps ? 0.0 : r * std::sin(angle), -r * std::cos(angle)});
  }
  return MeshBuilder(paint(color, true)).turned(profile, false, 2 * steps).finish();
}

// A wavy sheet from -1 to 1 with squares on it, `repeats` times along both edges.
inline GeometryPointer texturedSheet(int steps, float repeats = 1, bool repeat = true) {
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
    const std::uint32_t column = i % row, line = i / row;
    const float u = float(column) / float(steps), v = float(line) / float(steps);
    sheet->positions.insert(sheet->positions.end(), {2 * u - 1, 2 * v - 1, 0.3f * std::sin(7 * u) * std::cos(5 * v)});
    sheet->texCoords.insert(sheet->texCoords.end(), {u * repeats, v * repeats});
    if (i % row + 1 < row && i + row < row * row)
      sheet->indices.insert(sheet->indices.end(), {i, i + 1, i + row, i + 1, i + row + 1, i + row});
  }
  prepare(*sheet);
  return sheet;
}

class DrawerTest : public test::GlFixture {
 protected:
  void SetUp() override {
    GlFixture::SetUp();
    viewer.getGlobalScene()->setBackground({QColor(40, 80, 120)});
  }
  void TearDown() override { EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR)); }

  QColor center(const Shot& shot) { return draw(shot).pixelColor(shot.width / 2, shot.height / 2); }

  const QRgb nothing = qRgba(40, 80, 120, 0);
};

}  // namespace nubo::scene
