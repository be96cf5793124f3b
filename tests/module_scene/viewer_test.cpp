#include "module_scene/gui/viewer.h"

#include <gmock/gmock.h>

#include "kernel/events/eventhandler.h"
#include "kernel/events/eventmanager.h"
#include "kernel/main/castclass.h"
#include "module_scene/builtin/builtinscene.h"
#include "module_scene/draw/scenedrawer.h"
#include "module_scene/draw/viewpoint.h"
#include "module_scene/gui/cameraview.h"

namespace nubo::gui {
namespace {

TEST(Camera, NamedViewsLookFromWhereTheySay) {
  struct View {
    const char* name;
    math::Vector3 nearest;
  };
  for (const View& view :
       {View{"front", {0, -1, 0}}, View{"back", {0, 1, 0}}, View{"left", {-1, 0, 0}}, View{"right", {1, 0, 0}},
        View{"TOP", {0, 0, 1}}, View{"bottom", {0, 0, -1}}, View{"90,0", {1, 0, 0}}}) {
    Camera camera;
    ASSERT_TRUE(camera.setView(QString::fromLatin1(view.name))) << view.name;
    EXPECT_NEAR(math::transformPoint(camera.transform(), view.nearest)[2], 1 - camera.distance, 1e-12) << view.name;
  }
  Camera front;
  ASSERT_TRUE(front.setView(QStringLiteral("front")));
  EXPECT_NEAR(math::transformPoint(front.transform(), {0, 0, 1})[1], 1, 1e-12) << "z is up";
  EXPECT_NEAR(math::transformPoint(front.transform(), {1, 0, 0})[0], 1, 1e-12) << "and x to the right";
  const Camera before = front;
  for (const char* wrong : {"", "side", "1", "1,2,3", "1,x", "0,91", "nan,0", "0,nan"})
    EXPECT_FALSE(front.setView(QString::fromLatin1(wrong))) << wrong;
  EXPECT_EQ(front.transform(), before.transform());
}

TEST(Camera, SeesWhatAModelsCameraSees) {
  const double opening = std::tan(M_PI / 8);  // of half a view
  const scene::BoundingBox box = [] {
    scene::BoundingBox result;
    result.add(math::Vector3{-2, -1, 0});
    result.add(math::Vector3{3, 2, 4});
    return result;
  }();
  struct Row {
    const char* name;
    math::Vector3 eye;
    bool orthographic;
  };
  for (const Row& row : {Row{"from outside", {9, -8, 3}, false}, Row{"from inside", {1, 0, 1}, false},
                         Row{"from far away", {900, 0, 0}, false}, Row{"in parallel", {9, 8, 7}, true}}) {
    SCOPED_TRACE(row.name);
    scene::FileCamera source{"", new scene::SceneElement, row.orthographic, 0.6};
    const math::Matrix4 place = math::translation(row.eye[0], row.eye[1], row.eye[2]) *
                                math::rotation(2.1, {0, 0.6, 0.8}) * math::rotation(0.7, {0, 0, 1});
    source.element->setTransform(place * math::scaling(2, 2, 2));
    const Camera camera = cameraOf(source, box);
    EXPECT_EQ(camera.orthographic, row.orthographic);
    for (const math::Vector3& p : {math::Vector3{0.3, 0.2, -1}, {-0.5, 0.1, -3}, {0.2, -0.4, -900}}) {
      const math::Vector3 shown = math::transformPoint(camera.transform() * place, p);
      const double depth = row.orthographic ? camera.distance : -shown[2];
      const double half = row.orthographic ? 0.6 : std::tan(0.3) * -p[2];  // of the height that is seen there
      for (const std::size_t axis : {0u, 1u}) EXPECT_NEAR(shown[axis] / depth / opening, p[axis] / half, 1e-9);
      EXPECT_LT(shown[2], 0);
    }
    const math::Vector3 farthest = math::transformPoint(camera.transform(), {-2, 2, 4});
    EXPECT_LT(-farthest[2], scene::SceneDrawer::ZFAR);
  }
}

TEST(Camera, PanMovesTheSceneAcrossTheViewByFractionsOfItsHeight) {
  Camera camera;
  camera.scale = 0.01;
  const math::Vector3 center = camera.center;
  camera.pan(0.25, -0.5);
  const auto moved = math::transformPoint(camera.transform(), center);
  const double height = 2 * camera.distance * std::tan(9 * M_PI / 70);
  EXPECT_NEAR(moved[0], -0.25 * height, 1e-12);
  EXPECT_NEAR(moved[1], 0.5 * height, 1e-12);
}

class ViewerTest : public ::testing::Test {
 protected:
  ViewerTest() {
    const unsigned long type = events::EventHandler::getInstance()->addEvent("Scene", "SCENEPANEL_CHANGED");
    events::EventManager::getInstance()->registerEventFunction(
        type,
        new events::EventManager::Function([this](const main::Event* event) { announced.append(event->first()); }),
        this, nullptr);
  }
  ~ViewerTest() override { events::EventManager::getInstance()->unregisterAllEventFunctionsOf(this); }

  Viewer viewer;
  QList<QObject*> announced;
};

TEST_F(ViewerTest, AnnouncesActivePanelsAndTheirEnd) {
  auto first = std::make_unique<ScenePanel>();
  ScenePanel second;
  EXPECT_THAT(viewer.getPanels(), testing::ElementsAre(first.get(), &second));
  viewer.setActivePanel(first.get());
  viewer.setActivePanel(first.get());
  EXPECT_THAT(announced, testing::ElementsAre(first.get()));

  int notices = 0;
  QObject::connect(first.get(), &QObject::destroyed, [&](QObject* object) {
    ++notices;
    auto* panel = dynamic_cast<ScenePanel*>(object);  // null once its own destructor has ended
    ASSERT_NE(panel, nullptr);
    EXPECT_EQ(panel->getScaledTransformMatrix(), panel->getCamera().transform());
  });
  first.reset();
  EXPECT_EQ(notices, 1);
  EXPECT_EQ(viewer.getActivePanel(), nullptr);
  EXPECT_THAT(viewer.getPanels(), testing::ElementsAre(&second));
  EXPECT_EQ(announced.size(), 2);
  EXPECT_EQ(announced.last(), nullptr);
}

TEST_F(ViewerTest, CastClassesReadMatricesAndNameButNeverDeletePanels) {
  const auto castClassFor = [](const std::type_info& type) {
    return util::YPointer<main::CastClass>(main::CastClassManager::getInstance()->createCastClassForType(&type));
  };
  const auto matrices = castClassFor(typeid(math::Matrix4));
  ASSERT_TRUE(matrices);
  const math::Matrix4 original = math::translation(0.1, -2, 1e-9) * math::rotation(1, {0, 0, 1});
  auto* read = static_cast<math::Matrix4*>(matrices->fromString(matrices->toString(&original)));
  EXPECT_EQ(*read, original);
  EXPECT_EQ((*read)(0, 3), 0.1);
  matrices->deleteValue(read);
  for (const char* wrong : {"", "1 2 3", "1 0 0 0 0 1 0 0 0 0 1 0 0 0 0 x", "nan 0 0 0 0 1 0 0 0 0 1 0 0 0 0 1"})
    EXPECT_THROW(matrices->fromString(QString::fromLatin1(wrong)), main::CastError) << wrong;

  const auto panels = castClassFor(typeid(ScenePanel));
  ASSERT_TRUE(panels);
  EXPECT_THROW(panels->fromString(QString()), main::CastError);
  ScenePanel panel;
  panel.setObjectName(QStringLiteral("main"));
  EXPECT_EQ(panels->fromString(QStringLiteral("main")), &panel);
  EXPECT_THROW(panels->fromString(QStringLiteral("other")), main::CastError);
  viewer.setActivePanel(&panel);
  EXPECT_EQ(panels->fromString(QString()), &panel);
  EXPECT_TRUE(panels->needsSpecialDeletion());
  panels->deleteValue(&panel);
  EXPECT_EQ(panels->toString(&panel), QStringLiteral("main"));
}

TEST_F(ViewerTest, PanelShowsTheSceneWithoutAWindowAtAnyResolution) {
  const QColor background(10, 200, 30);
  viewer.getGlobalScene()->setRootNode(scene::createBuiltinScene());
  viewer.getGlobalScene()->setBackground({background});
  ScenePanel panel;
  panel.resize(322, 178);  // which a quarter of does not fit
  panel.fit();
  const QImage whole = panel.grabFramebuffer();
  ASSERT_EQ(whole.size(), panel.size());
  EXPECT_EQ(whole.pixelColor(2, 2), background);
  for (const double detail : {0.0, 4.0, 8.0, 16.0}) {
    panel.setDetail(detail);
    const QImage picture = panel.grabFramebuffer();
    int covered = 0, changed = 0;
    for (int y = 0; y < picture.height(); ++y)
      for (int x = 0; x < picture.width(); ++x) {
        ASSERT_EQ(qAlpha(picture.pixel(x, y)), 255) << x << ", " << y;
        const bool isCovered = picture.pixelColor(x, y) != background;
        covered += isCovered;
        changed += isCovered != (whole.pixelColor(x, y) != background);
      }
    EXPECT_GT(covered, picture.width() * picture.height() / 10) << detail;
    EXPECT_LT(changed, covered / 5) << detail << ": the outline lies off by a few pixels at most";
  }
}

}  // namespace
}  // namespace nubo::gui
