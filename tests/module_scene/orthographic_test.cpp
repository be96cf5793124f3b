#include <gmock/gmock.h>

#include <QOpenGLFunctions>
#include <random>

#include "module_scene/gui/framing.h"
#include "module_scene/mesh/meshbuilder.h"
#include "support/glfixture.h"

namespace nubo::scene {
namespace {

using test::compare;
using test::Shot;

math::Matrix4 frustum(double left, double right, double bottom, double top) {
  const double n = SceneDrawer::ZNEAR, f = SceneDrawer::ZFAR;
  math::Matrix4 m;
  m(0, 0) = 2 * n / (right - left), m(0, 2) = (right + left) / (right - left);
  m(1, 1) = 2 * n / (top - bottom), m(1, 2) = (top + bottom) / (top - bottom);
  m(2, 2) = -(f + n) / (f - n), m(2, 3) = -2 * f * n / (f - n);
  m(3, 2) = -1, m(3, 3) = 0;
  return m;
}

class OrthographicTest : public test::GlFixture {
 protected:
  void SetUp() override {
    GlFixture::SetUp();
    camera.orthographic = true;
  }
  math::Matrix4 transform() {
    gui::ScenePanel panel;
    panel.setCamera(camera);
    return panel.getScaledTransformMatrix();
  }
  Shot shot(const util::YPointer<Geometry>& geometry) {
    Shot result;
    result.root = new SceneElement;
    result.root->addGeometry(geometry);
    result.transform = transform();
    return result;
  }
  gui::Camera camera;
};

// As glOrtho would, with the window of the frustum as large as it is at the centre's distance.
TEST_F(OrthographicTest, AnyTilesFrustumShowsAPartOfOneParallelPicture) {
  std::mt19937 random(3);
  const auto number = [&random] { return random() % 20001 / 10000.0 - 1; };
  for (const double distance : {0.1, 3.0, 40.0}) {
    camera.distance = distance;
    camera.center = {0.2, -0.1, 0.3};
    for (int i = 0; i < 50; ++i) {
      const double left = 0.02 * number(), right = left + 0.001, bottom = 0.02 * number(), top = bottom + 0.002;
      const math::Vector3 p{number(), number(), number()};
      const math::Vector3 eye = math::transformPoint(camera.transform(), p);
      const math::Matrix4 clip = frustum(left, right, bottom, top) * transform();
      const math::Vector3 seen = math::transformPoint(clip, p);
      const double w = clip(3, 0) * p[0] + clip(3, 1) * p[1] + clip(3, 2) * p[2] + clip(3, 3);
      const double size = distance / SceneDrawer::ZNEAR;
      EXPECT_NEAR(w, distance, 1e-9);
      EXPECT_NEAR(seen[0] / w, (2 * eye[0] / size - right - left) / (right - left), 1e-6);
      EXPECT_NEAR(seen[1] / w, (2 * eye[1] / size - top - bottom) / (top - bottom), 1e-6);
      const double depth = -eye[2] - distance, reach = 2 * gui::Camera::FarthestDistance;
      EXPECT_NEAR(seen[2] / w, depth / reach, 1e-9) << "nearer is less, and nothing near the centre is cut";
    }
  }
}

TEST_F(OrthographicTest, PicturesAreParallelAndLitSortedAndCulledAsEver) {
  const util::YPointer<Material> glass(new Material);
  glass->diffuse = {0.2f, 0.4f, 1, 0.5f};
  for (const Look look : {Look::Plain, Look::Studio})
    for (const auto& material : {util::YPointer<Material>(), glass}) {
      const auto box = [&](double depth) {
        return MeshBuilder(material).box({-0.5, -0.5 + depth, -0.5}, {0.5, 0.5 + depth, 0.5}).finish();
      };
      camera.elevation = 0;
      camera.azimuth = 0;
      Shot inParallel = shot(box(0));
      inParallel.look = look;
      const QImage picture = draw(inParallel);
      inParallel.root = shot(box(8)).root;
      const QImage farther = draw(inParallel);
      EXPECT_GT(compare(picture, farther).covered, 1000);
      EXPECT_EQ(compare(picture, farther).changed, 0) << "as large, and as bright";
      // In the middle both look along the same line.
      Shot inPerspective = inParallel;
      inPerspective.root = shot(box(0)).root;
      inPerspective.transform = camera.transform();
      const bool farLight = look == Look::Plain;
      EXPECT_LE(test::distance(picture.pixel(128, 128), draw(inPerspective).pixel(128, 128)), farLight ? 1 : 8);
    }
}

// What is small is seen along nearly the same lines in both: over 2 degrees, shading changes by a few levels.
TEST_F(OrthographicTest, SmallThingsAreLitAsInPerspective) {
  for (const Look look : {Look::Plain, Look::Studio}) {
    Shot inParallel = shot(MeshBuilder(nullptr).sphere({0, 0, 0}, 0.1).finish());
    inParallel.width = inParallel.height = 600;
    inParallel.look = look;
    Shot inPerspective = inParallel;
    inPerspective.transform = camera.transform();
    const QImage parallel = draw(inParallel), perspective = draw(inPerspective);
    int both = 0, sum = 0;
    for (int y = 0; y < 600; ++y)
      for (int x = 0; x < 600; ++x) {
        const QRgb a = parallel.pixel(x, y), b = perspective.pixel(x, y);
        if (qAlpha(a) < 255 || qAlpha(b) < 255) continue;
        ++both;
        sum += test::distance(a, b);
      }
    EXPECT_GT(both, 1000);
    EXPECT_LE(double(sum) / both, 4) << "levels, on average";
  }
}

TEST_F(OrthographicTest, TilesFitTogether) {
  for (const Look look : {Look::Plain, Look::Studio}) {
    Shot whole = shot(MeshBuilder(nullptr).sphere({0, 0, 0}, 1).finish());
    whole.width = 301;
    whole.height = 255;
    whole.look = look;
    const auto difference = compare(draw(whole), drawTiled(whole, 37));
    EXPECT_GT(difference.covered, 1000);
    EXPECT_LE(difference.changed, difference.edges / 128) << difference;
  }
}

TEST_F(OrthographicTest, FramingFillsTheViewHoweverDeepTheSceneIs) {
  for (const double depth : {0.1, 30.0}) {
    const util::YPointer<SceneElement> root =
        shot(MeshBuilder(nullptr).box({1, -depth, 2}, {5, depth, 4}).finish()).root;
    camera.azimuth = camera.elevation = 0;
    gui::Framing framing(camera, root->getBoundingBox());
    framing.add(*root);
    const gui::Camera framed = framing.camera(400, 200);
    EXPECT_TRUE(framed.orthographic);
    EXPECT_NEAR(framed.center[0], 3, 1e-6);
    EXPECT_NEAR(framed.center[2], 3, 1e-6);
    EXPECT_NEAR(framed.distance * gui::Camera::usableSlope(), 1 * framed.scale, 1e-6) << "half the height";
    const gui::Camera narrow = framing.camera(200, 200);
    EXPECT_NEAR(narrow.distance * gui::Camera::usableSlope(), 2 * narrow.scale, 1e-6) << "half the width";
  }
}

}  // namespace
}  // namespace nubo::scene
