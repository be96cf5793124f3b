// What is done in the window to the view and the scene before a picture: cutting it open.
#include <QComboBox>
#include <QSlider>

#include "module_scene/graph/scene.h"
#include "nubo/windowfixture.h"

namespace nubo::test {

namespace {

class Composing : public WindowTest {
 protected:
  void SetUp() override {
    WindowTest::SetUp();
    if (IsSkipped()) return;
    ASSERT_NO_FATAL_FAILURE(openCube());
    panels().activePanel()->showView("front");
  }
  window::ViewPanel& panel() const { return *panels().activePanel(); }
  /// The columns of a picture that show more than background.
  static QPair<int, int> columns(const QImage& picture) {
    QPair<int, int> result{picture.width(), -1};
    for (int x = 0; x < picture.width(); ++x)
      for (int y = 0; y < picture.height(); ++y)
        if (picture.pixel(x, y) != picture.pixel(0, 0)) {
          result.first = std::min(result.first, x);
          result.second = x;
        }
    return result;
  }
  QPoint pixelOf(const math::Vector3& point) const {
    const math::Vector3 eye = math::transformPoint(panel().getScaledTransformMatrix(), point);
    const double unit = 0.5 * panel().height() / (std::tan(PictureHalfOpening) * -eye[2]);
    return {int(0.5 * panel().width() + eye[0] * unit), int(0.5 * panel().height() - eye[1] * unit)};
  }
};

TEST_F(Composing, CutsTheSceneOpen) {
  panel().setOrthographic(true);
  const int height = panel().height();
  useShortcut("F7");
  auto* slider = window->findChild<QSlider*>("sectionSlider");
  ASSERT_TRUE(waitUntil([&] { return slider->isVisible() && panel().height() < height; }));
  slider->setValue(1000);
  const auto [left, right] = columns(panel().picture());
  const double width = right - left + 1;
  slider->setValue(500);
  EXPECT_NEAR(columns(panel().picture()).second - left, width / 2, width * 0.02);
  slider->setValue(250);
  EXPECT_NEAR(columns(panel().picture()).second - left, width / 4, width * 0.02);
  drag(&panel(), {100, 100}, {100 + int(width / 4), 100}, Qt::LeftButton, Qt::ControlModifier);
  EXPECT_NEAR(slider->value(), 500, 10) << "the plane follows the mouse";
  keepScreenshot("section");
  action("sectionFlip")->trigger();
  EXPECT_NEAR(right - columns(panel().picture()).first, (1 - slider->value() / 1000.0) * width, width * 0.02);

  ASSERT_TRUE(openDialog("grabimage"));
  enter("filename", host.file("cut.png"));
  ASSERT_TRUE(start());
  ASSERT_TRUE(waitForEnd());
  const auto taken = columns(QImage(host.file("cut.png")));
  const QImage seen = panel().picture();
  const double size = double(QImage(host.file("cut.png")).width()) / seen.width();
  EXPECT_NEAR(taken.first, columns(seen).first * size, 2 * size) << "a picture shows the same";

  useShortcut("F7");
  const QImage whole = panel().picture();
  EXPECT_NEAR(columns(whole).first, whole.width() - 1 - columns(whole).second, 2);
}

TEST_F(Composing, CutsThroughThreePoints) {
  panel().showView("oblique");
  useShortcut("F7");
  auto* directions = window->findChild<QComboBox*>("sectionDirections");
  window->findChild<QSlider*>("sectionSlider")->setValue(1000);
  emit directions->activated(3);
  const std::vector<math::Vector3> points{{0.2, -1, 0.1}, {1, 0.3, -0.2}, {-0.1, 0.2, 1}};
  for (const math::Vector3& point : points) QTest::mouseClick(&panel(), Qt::LeftButton, {}, pixelOf(point));
  EXPECT_EQ(directions->currentIndex(), 3);
  const auto section = scene::_GlobalScene()->getSection();
  ASSERT_TRUE(section);
  for (const math::Vector3& point : points) EXPECT_NEAR(section->plane().beyond(point), 0, 0.02);
  EXPECT_GT(section->plane().beyond({1, -1, 1}), 0.3) << "the corner is gone";
  keepScreenshot("three points");
  // The next points lie on what is left.
  emit directions->activated(3);
  QTest::mouseClick(&panel(), Qt::LeftButton, {}, pixelOf({1, -1, 1}));
  QTest::mouseClick(&panel(), Qt::LeftButton, {}, QPoint(2, 2));
  EXPECT_EQ(scene::_GlobalScene()->getSection(), section);
}

TEST_F(Composing, AnotherModelIsWhole) {
  useShortcut("F7");
  writeFile("other.obj", CubeFile);
  drop({QUrl::fromLocalFile(host.file("other.obj"))});
  ASSERT_TRUE(waitUntil([this] { return window->windowTitle().startsWith("other.obj"); }));
  EXPECT_FALSE(scene::_GlobalScene()->getSection());
  EXPECT_FALSE(action("section")->isChecked());
}

}  // namespace

}  // namespace nubo::test
