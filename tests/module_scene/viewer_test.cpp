#include "module_scene/gui/viewer.h"

#include <gmock/gmock.h>

#include "kernel/events/eventhandler.h"
#include "kernel/events/eventmanager.h"
#include "kernel/main/castclass.h"
#include "module_scene/builtin/builtinscene.h"
#include "module_scene/gui/framing.h"
#include "module_scene/mesh/preparation.h"

namespace nubo::gui {
namespace {

// Where the points lie in a view, whose edges are at -1 and 1.
scene::BoundingBox seenThrough(const Camera& camera, const std::vector<math::Vector3>& points, double aspect) {
  scene::BoundingBox seen;
  for (const math::Vector3& point : points) {
    const math::Vector3 eye = math::transformPoint(camera.transform(), point);
    EXPECT_LT(eye[2], -0.05) << "in front of the near plane";
    const double slope = std::tan(22.5 * M_PI / 180) * -eye[2];
    seen.add(math::Vector3{eye[0] / slope / aspect, eye[1] / slope, eye[2]});
  }
  return seen;
}

TEST(Framing, CentresWhateverIsShownAndFillsTheView) {
  struct Case {
    const char* name;
    math::Matrix4 shape;  ///< of what would be a ring of radius 1
  };
  const Case cases[] = {{"ring", math::Matrix4()},
                        {"long and flat", math::translation(100, -7, 1e4) * math::scaling(40, 0.5, 1)},
                        {"tiny", math::rotation(1.3, {1, 0, 0}) * math::scaling(0.001, 0.002, 0.001)},
                        {"tower", math::rotation(1.5, {1, 0, 0}) * math::scaling(0.5, 9, 0.5)}};
  for (const Case& c : cases) {
    std::vector<math::Vector3> points;
    const util::YPointer<scene::SceneElement> root(new scene::SceneElement), leaf(new scene::SceneElement);
    root->setTransform(math::translation(5, 0, 0));
    root->addChild(leaf);
    leaf->setTransform(math::translation(-5, 0, 0) * c.shape);
    const util::YPointer<scene::Geometry> dots(new scene::Geometry);
    dots->kind = scene::KindPoints;
    for (std::uint32_t i = 0; i < 60; ++i) {
      const std::array<float, 3> dot{std::cos(i * 0.1f), std::sin(i * 0.1f), i % 2 ? 0.1f : 0.0f};
      dots->positions.insert(dots->positions.end(), dot.begin(), dot.end());
      dots->indices.push_back(i);
      points.push_back(math::transformPoint(c.shape, {dot[0], dot[1], dot[2]}));
    }
    prepare(*dots);
    leaf->addGeometry(dots);
    const scene::BoundingBox box = root->getBoundingBox();
    const double size = std::hypot(box.max[0] - box.min[0], box.max[1] - box.min[1], box.max[2] - box.min[2]);

    for (const char* view : {"front", "top", "oblique", "200,-70"})
      for (const auto& [width, height] : {std::pair(1600, 900), {500, 900}}) {
        SCOPED_TRACE(testing::Message() << c.name << ' ' << view << ' ' << width);
        Camera direction;
        ASSERT_TRUE(direction.setView(view));
        Framing framing(direction, box);
        framing.add(*root);
        const scene::BoundingBox still = seenThrough(framing.camera(width, height), points, double(width) / height);
        EXPECT_NEAR(still.min[0] + still.max[0], 0, 0.05);
        EXPECT_NEAR(still.min[1] + still.max[1], 0, 0.05);
        EXPECT_LT(std::max(still.max[0], still.max[1]), 1);

        root->setTransform(math::translation(5, 0, 2 * size));  // and now also where it is at another step
        framing.add(*root);
        root->setTransform(math::translation(5, 0, 0));
        std::vector<math::Vector3> all = points;
        for (const math::Vector3& p : points) all.push_back({p[0], p[1], p[2] + 2 * size});
        const scene::BoundingBox moving = seenThrough(framing.camera(width, height), all, double(width) / height);
        EXPECT_LT(std::max(moving.max[0], moving.max[1]), 1);
        EXPECT_NEAR(moving.min[1] + moving.max[1], 0, 0.05);
        // Unless the eye would come too close.
        EXPECT_TRUE(std::max(still.max[0], still.max[1]) > 0.9 || still.max[2] > -0.07) << still.max[2];
        EXPECT_TRUE(std::max(moving.max[0], moving.max[1]) > 0.88 || moving.max[2] > -0.07) << moving.max[2];
      }
  }
}

TEST(Framing, LeavesRoomForTurningAboutTheMiddle) {
  const scene::BoundingBox box = [] {
    scene::BoundingBox b;
    b.add(math::Vector3{-10, 3, 100});
    b.add(math::Vector3{30, 8, 107});
    return b;
  }();
  const util::YPointer<scene::SceneElement> element(new scene::SceneElement);
  const util::YPointer<scene::Geometry> dots(new scene::Geometry);
  dots->kind = scene::KindPoints;
  std::vector<math::Vector3> corners;
  for (std::uint32_t i = 0; i < 8; ++i) {
    corners.push_back({i & 1 ? 30.0 : -10.0, i & 2 ? 8.0 : 3.0, i & 4 ? 107.0 : 100.0});
    for (const double value : corners.back()) dots->positions.push_back(float(value));
    dots->indices.push_back(i);
  }
  prepare(*dots);
  element->addGeometry(dots);
  for (const auto& [width, height] : {std::pair(1600, 900), {500, 900}, {100, 100}})
    for (const double elevation : {-90.0, 0.0, 25.0, 90.0}) {
      SCOPED_TRACE(testing::Message() << width << " x " << height << " at " << elevation);
      Camera camera;
      camera.elevation = elevation;
      Framing still(camera, box), framing = still;
      still.add(*element);
      framing.addTurning(*element);
      const Camera centred = framing.camera(width, height, &still);
      camera = framing.camera(width, height);
      EXPECT_NEAR(camera.center[0], 10, 0.01);  // the pivot
      EXPECT_NEAR(camera.center[1], 5.5, 0.01);
      scene::BoundingBox seen;
      for (int turn = 0; turn < 72; ++turn) {
        camera.azimuth = 5 * turn;
        const scene::BoundingBox now = seenThrough(camera, corners, double(width) / height);
        seen.add(now.min);
        seen.add(now.max);
        std::vector<math::Vector3> turned;
        for (const math::Vector3& p : corners)
          turned.push_back(
              math::transformPoint(math::translation(10, 5.5, 0) * math::rotation(turn * M_PI / 36, {0, 0, 1}) *
                                       math::translation(-10, -5.5, 0),
                                   p));
        const scene::BoundingBox around = seenThrough(centred, turned, double(width) / height);
        EXPECT_LT(std::max({around.max[0], around.max[1], -around.min[0], -around.min[1]}), 1) << turn;
        EXPECT_TRUE(turn > 0 ||
                    (std::abs(around.min[0] + around.max[0]) < 0.02 && std::abs(around.min[1] + around.max[1]) < 0.02));
      }
      EXPECT_LT(std::max({seen.max[0], seen.max[1], -seen.min[0], -seen.min[1]}), 1);
      EXPECT_GT(std::max(seen.max[0], seen.max[1]), 0.9);
      EXPECT_NEAR(seen.min[1] + seen.max[1], 0, 0.05);
    }
}

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

TEST(Camera, PanMovesTheSceneAcrossTheViewByFractionsOfItsHeight) {
  Camera camera;
  camera.scale = 0.01;
  const math::Vector3 center = camera.center;
  camera.pan(0.25, -0.5);
  const auto moved = math::transformPoint(camera.transform(), center);
  const double height = 2 * camera.distance * std::tan(22.5 * M_PI / 180);
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

TEST_F(ViewerTest, PanelShowsTheSceneWithoutAWindow) {
  viewer.getGlobalScene()->setRootNode(scene::createBuiltinScene());
  viewer.getGlobalScene()->setBackgroundColor(QColor(10, 200, 30));
  ScenePanel panel;
  panel.resize(320, 180);
  panel.fit();
  const QImage picture = panel.grabFramebuffer();
  ASSERT_EQ(picture.size(), panel.size());
  EXPECT_EQ(picture.pixelColor(2, 2), QColor(10, 200, 30));
  int covered = 0;
  for (int y = 0; y < picture.height(); ++y)
    for (int x = 0; x < picture.width(); ++x) {
      ASSERT_EQ(qAlpha(picture.pixel(x, y)), 255) << x << ", " << y;
      covered += picture.pixelColor(x, y) != QColor(10, 200, 30);
    }
  EXPECT_GT(covered, picture.width() * picture.height() / 10);
}

}  // namespace
}  // namespace nubo::gui
