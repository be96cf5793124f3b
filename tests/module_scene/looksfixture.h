// What looks are tested with: shapes of a material, and views of them.
#pragma once

#include <gmock/gmock.h>

#include <cmath>

#include "module_scene/gui/camera.h"
#include "module_scene/mesh/meshbuilder.h"
#include "support/glfixture.h"

namespace nubo::scene {

using test::compare;
using test::Shot;

using Element = util::YPointer<SceneElement>;
using GeometryPointer = util::YPointer<Geometry>;
using MaterialPointer = util::YPointer<Material>;

inline Element element(std::initializer_list<GeometryPointer> geometries) {
  Element result(new SceneElement);
  for (const auto& geometry : geometries) result->addGeometry(geometry);
  return result;
}

inline MaterialPointer physical(const std::function<void(PhysicalMaterial&)>& change) {
  MaterialPointer material(new Material);
  material->physical.emplace();
  material->physical->baseColor = {1, 1, 1, 1};
  change(*material->physical);
  return material;
}

inline util::YPointer<Texture> filled(const QColor& color) {
  QImage image(4, 4, QImage::Format_ARGB32);
  image.fill(color);
  return new Texture(image);
}

inline GeometryPointer picture(const MaterialPointer& material) {
  return MeshBuilder(material).picture({-1, -1, 0}, {2, 0, 0}, {0, 2, 0}).finish();
}

/// From the front the scene's z axis points up.
inline Shot shotFromFront(const Element& root) {
  Shot shot;
  gui::Camera camera;
  if (!camera.setView("front")) ADD_FAILURE();
  shot.root = root;
  shot.transform = camera.transform();
  shot.look = Look::Studio;
  return shot;
}

inline Light bytesToLight(QRgb pixel) {
  const auto linear = [](int byte) {
    const double shown = byte / 255.0;
    return float(shown <= 0.04045 ? shown / 12.92 : std::pow((shown + 0.055) / 1.055, 2.4));
  };
  return {linear(qRed(pixel)), linear(qGreen(pixel)), linear(qBlue(pixel))};
}

/// Where one of them is covered wholly.
inline double meanDistance(const QImage& a, const QImage& b) {
  int sum = 0, count = 0;
  for (int y = 0; y < a.height(); ++y)
    for (int x = 0; x < a.width(); ++x)
      if (qAlpha(a.pixel(x, y)) == 255) {
        sum += test::distance(a.pixel(x, y), b.pixel(x, y));
        ++count;
      }
  return double(sum) / count;
}

class LooksTest : public test::GlFixture {
 protected:
  /// Where the shot shows a point of the scene.
  static QPoint pixelOf(const Shot& shot, const math::Vector3& point) {
    const math::Vector3 p = math::transformPoint(shot.transform, point);
    const double scale = shot.height / 2.0 / (std::tan(0.40391905546154483) * -p[2]);
    return {int(shot.width / 2.0 + p[0] * scale), int(shot.height / 2.0 - p[1] * scale)};
  }
  void TearDown() override { EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR)); }
};

}  // namespace nubo::scene
