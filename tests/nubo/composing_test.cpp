// What is done in the window to the view and the scene before a picture: cutting open, hiding, painting, and undoing
// it.
#include <QColorDialog>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QInputDialog>
#include <QLineEdit>
#include <QSlider>
#include <QTreeWidget>

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
  panel().setSelection(scene::_GlobalScene()->getRootNode());
  EXPECT_NEAR(columns(panel().grabFramebuffer()).second, columns(panel().picture()).second, 2) << "the frame around it";
  panel().setSelection(nullptr);
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
  for (const auto& [parameter, value] : {std::pair("filename", host.file("cut.png")), {"width", "800"}})
    enter(parameter, value);
  ASSERT_TRUE(start());
  ASSERT_TRUE(waitForEnd());
  const auto taken = columns(QImage(host.file("cut.png")));
  const QImage seen = panel().picture();
  const double size = double(QImage(host.file("cut.png")).width()) / seen.width();
  EXPECT_NEAR(taken.first, columns(seen).first * size, 2 * size) << "a picture shows the same";

  useShortcut("F7");
  const QImage whole = panel().picture();
  EXPECT_NEAR(columns(whole).first, whole.width() - 1 - columns(whole).second, 2);

  useShortcut("F7");
  EXPECT_EQ(window->findChild<QDoubleSpinBox*>("sectionPlace")->suffix(), " units");
  slider->setValue(250);
  useShortcut("Ctrl+0");
  const auto fitted = columns(panel().picture());
  EXPECT_NEAR(fitted.first, panel().width() - 1 - fitted.second, 2) << "what is left is in the middle";
  useShortcut("F7");
  EXPECT_NE(columns(panel().picture()), fitted) << "and the view is fitted to that still";
}

TEST_F(Composing, CutsThroughThreePoints) {
  panel().showView("oblique");
  useShortcut("F7");
  auto* directions = window->findChild<QComboBox*>("sectionDirections");
  window->findChild<QSlider*>("sectionSlider")->setValue(1000);
  emit directions->activated(3);
  const std::vector<math::Vector3> points{{0.2, -1, 0.1}, {1, 0.3, -0.2}, {-0.1, 0.2, 1}};
  const auto* note = window->findChild<QLabel*>("sectionNote");
  for (std::size_t i = 0; i < 3; ++i) {
    const char* const wanted[] = {"Click three", "Click two more", "Click one more"};
    EXPECT_TRUE(note->text().startsWith(wanted[i])) << note->text().toStdString();
    QTest::mouseClick(&panel(), Qt::LeftButton, {}, pixelOf(points[i]));
  }
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
  emit directions->activated(0);
  emit directions->activated(3);
  window->findChild<QSlider*>("sectionSlider")->setValue(400);  // while points are waited for
  EXPECT_EQ(directions->currentIndex(), 3);
}

TEST_F(Composing, AnotherModelIsWhole) {
  useShortcut("F7");
  writeFile("other.obj", CubeFile);
  drop({QUrl::fromLocalFile(host.file("other.obj"))});
  ASSERT_TRUE(waitUntil([this] { return window->windowTitle().startsWith("other.obj"); }));
  EXPECT_FALSE(scene::_GlobalScene()->getSection());
  EXPECT_FALSE(action("section")->isChecked());
}

TEST_F(Composing, GrabsAllSavedViews) {
  const gui::Camera before = panel().getCamera();
  for (const auto& [name, view] : {std::pair("Side/1", "left"), {"Side 1", "oblique"}, {"Above", "top"}}) {
    panel().showView(view);
    inNextDialog<QInputDialog>([name = name](QInputDialog* dialog) {
      dialog->setTextValue(name);
      dialog->accept();
    });
    useShortcut("Ctrl+Shift+S");
    QCoreApplication::processEvents();
  }
  panel().setCamera(before);
  ASSERT_TRUE(openDialog("grabimage"));
  auto* all = dialog()->findChild<QCheckBox*>("allViews");
  ASSERT_TRUE(all->isVisible());
  all->click();
  for (const auto& [parameter, value] : {std::pair("filename", host.file("all-{view}.png")), {"width", "200"}})
    enter(parameter, value);
  keepScreenshot("all views dialog");
  ASSERT_TRUE(start());
  const auto files = [this] { return QDir(host.directory.path()).entryList({"all-*.png"}).join(' ').toStdString(); };
  EXPECT_TRUE(waitUntil([&] { return files() == "all-Above.png all-Side-1-2.png all-Side-1.png" && !anythingRuns(); }))
      << files();
  EXPECT_NE(QImage(host.file("all-Side-1.png")), QImage(host.file("all-Side-1-2.png")));
  EXPECT_TRUE(waitUntil([&] { return panel().getCamera().transform() == before.transform(); }));
  ASSERT_TRUE(openDialog("grabimage"));
  EXPECT_EQ(qobject_cast<QLineEdit*>(field("filename"))->text(), host.file("all.png")) << "for one picture";
}

TEST_F(Composing, UndoesViewsAndSections) {
  auto* slider = window->findChild<QSlider*>("sectionSlider");
  const auto azimuth = [this] { return panel().getCamera().azimuth; };
  useShortcut("Ctrl+Z");
  ASSERT_FALSE(action("undo")->isEnabled()) << "what was before the model is forgotten";
  const double first = azimuth();
  QTest::keyClick(&panel(), Qt::Key_Left);
  QTest::keyClick(&panel(), Qt::Key_Left);  // without a rest between: one step
  const double second = azimuth();
  ASSERT_TRUE(waitUntil([this] { return action("undo")->text() == "&Undo: View"; }));
  useShortcut("F7");
  ASSERT_TRUE(waitUntil([this] { return action("undo")->text() == "&Undo: Section"; }));
  slider->setValue(250);
  EXPECT_NE(second, first);
  useShortcut("Ctrl+Z");  // at once
  EXPECT_EQ(slider->value(), 500);
  useShortcut("Ctrl+Z");
  EXPECT_FALSE(scene::_GlobalScene()->getSection());
  useShortcut("Ctrl+Z");
  EXPECT_EQ(azimuth(), first);
  EXPECT_FALSE(action("undo")->isEnabled());
  const double distance = panel().getCamera().distance;
  window->resize(600, 700);  // which moves the camera, but nobody has
  ASSERT_TRUE(waitUntil([&] { return panel().getCamera().distance > distance; }));
  QTest::qWait(600);
  EXPECT_FALSE(action("undo")->isEnabled());
  for (int i = 0; i < 3; ++i) useShortcut("Ctrl+Shift+Z");
  EXPECT_EQ(azimuth(), second);
  EXPECT_EQ(slider->value(), 250);
}

TEST_F(Composing, ShowsSomeElementsOnly) {
  writeFile("three.obj", QByteArray("o Left\n") + CubeFile +
                             "o Middle\nv 3 0 0\nv 4 0 0\nv 4 1 0\nf 9 10 11\no Right\n" +
                             "v 6 0 0\nv 7 0 0\nv 7 1 0\nf 12 13 14\n");
  drop({QUrl::fromLocalFile(host.file("three.obj"))});
  ASSERT_TRUE(waitUntil([this] { return window->windowTitle().startsWith("three.obj"); }));
  auto* tree = window->findChild<QTreeWidget*>("sceneTree");
  const auto item = [tree](const char* name) {
    return tree->findItems(name, Qt::MatchExactly | Qt::MatchRecursive)[0];
  };
  const auto shown = [] {
    std::string names;
    for (const char* name : {"Left", "Middle", "Right"}) {
      const scene::SceneLocker locker(scene::_GlobalScene(), scene::LockAll);
      if (scene::_GlobalScene()->getRootNode()->find(name)->isVisible()) names += name;
    }
    return names;
  };
  const auto choose = [&](const char* element, const char* entry) {
    tree->expandAll();
    tree->scrollToItem(item(element));
    emit tree->customContextMenuRequested(tree->visualItemRect(item(element)).center());
    auto* menu = window->findChild<QMenu*>("elementMenu");
    for (QAction* action : menu->actions())
      if (action->text() == entry) action->trigger();
    keepScreenshot("element menu");
    menu->close();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
  };
  const auto becomes = [&](const std::string& names) {
    EXPECT_TRUE(waitUntil([&] { return shown() == names; })) << shown() << " in place of " << names;
  };
  choose("Middle", "Show &Only This");
  becomes("Middle");
  EXPECT_EQ(item("Left")->checkState(0), Qt::Unchecked);
  useShortcut("Ctrl+Z");
  becomes("LeftMiddleRight");
  EXPECT_EQ(item("Left")->checkState(0), Qt::Checked);
  choose("Right", "&Hide");
  becomes("LeftMiddle");
  choose("Left", "Hide &Nothing");
  becomes("LeftMiddleRight");
  useShortcut("Ctrl+Z");
  useShortcut("Ctrl+Z");
  useShortcut("Ctrl+Shift+Z");
  becomes("LeftMiddle");

  auto* filter = window->findChild<QLineEdit*>("sceneFilter");
  type(filter, "IGH");
  EXPECT_TRUE(item("Left")->isHidden() && !item("Right")->isHidden() && !item("three.obj")->isHidden());
  type(filter, "left");
  EXPECT_TRUE(item("Right")->isHidden() && !item("Left")->isHidden());
}

TEST_F(Composing, PaintsAnElement) {
  const auto hue = [this] { return panel().picture().pixelColor(panel().rect().center()).hslSaturation() > 60; };
  EXPECT_FALSE(hue());
  inNextDialog<QColorDialog>([](QColorDialog* dialog) {
    dialog->setCurrentColor(Qt::red);
    dialog->accept();
  });
  auto* tree = window->findChild<QTreeWidget*>("sceneTree");
  emit tree->customContextMenuRequested(tree->visualItemRect(tree->topLevelItem(0)).center());
  for (QAction* action : window->findChild<QMenu*>("elementMenu")->actions())
    if (action->text() == "&Colour…") action->trigger();
  EXPECT_TRUE(waitUntil(hue));
  useShortcut("Ctrl+Z");
  EXPECT_TRUE(waitUntil([&] { return !hue(); }));
  useShortcut("Ctrl+Shift+Z");
  EXPECT_TRUE(waitUntil(hue));
}

}  // namespace

}  // namespace nubo::test
