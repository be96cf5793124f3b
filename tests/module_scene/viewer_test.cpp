#include "module_scene/gui/viewer.h"

#include <gmock/gmock.h>

#include "kernel/events/eventhandler.h"
#include "kernel/events/eventmanager.h"
#include "kernel/main/castclass.h"
#include "module_scene/builtin/builtinscene.h"
#include "module_scene/draw/scenedrawer.h"
#include "module_scene/draw/viewpoint.h"
#include "module_scene/gui/cameraview.h"
#include "module_scene/gui/framing.h"
#include "module_scene/gui/picking.h"
#include "module_scene/gui/subject.h"
#include "support/quad.h"

namespace nubo::gui {
namespace {

// Where the points lie in a view, whose edges are at -1 and 1.
scene::BoundingBox seenThrough(const Camera& camera, const std::vector<math::Vector3>& points, double aspect) {
  scene::BoundingBox seen;
  for (const math::Vector3& point : points) {
    const math::Vector3 eye = math::transformPoint(camera.transform(), point);
    EXPECT_LT(eye[2], -0.05) << "in front of the near plane";
    const double slope = std::tan(9 * M_PI / 70) * -eye[2];
    seen.add(math::Vector3{eye[0] / slope / aspect, eye[1] / slope, eye[2]});
  }
  return seen;
}

bool isCentred(const scene::BoundingBox& seen, double tolerance) {
  return std::abs(seen.min[0] + seen.max[0]) < tolerance && std::abs(seen.min[1] + seen.max[1]) < tolerance;
}

/// How much of the view it takes; more than 1 is cut off.
double extent(const scene::BoundingBox& seen) {
  return std::max({seen.max[0], seen.max[1], -seen.min[0], -seen.min[1]});
}

TEST(Framing, CentresWhateverIsShownAndFillsTheView) {
  std::vector<math::Vector3> ring;
  ring.reserve(60);
  for (int i = 0; i < 60; ++i) ring.push_back({std::cos(i * 0.1), std::sin(i * 0.1), i % 2 ? 0.1 : 0.0});
  for (const auto& [name, shape] : {std::pair("ring", math::Matrix4()),
                                    {"flat", math::translation(100, -7, 1e4) * math::scaling(40, 0.5, 1)},
                                    {"tiny", math::rotation(1.3, {1, 0, 0}) * math::scaling(0.001, 0.002, 0.001)},
                                    {"tower", math::rotation(1.5, {1, 0, 0}) * math::scaling(0.5, 9, 0.5)}}) {
    const util::YPointer<scene::SceneElement> root(new scene::SceneElement), leaf(new scene::SceneElement);
    root->setTransform(math::translation(5, 0, 0));
    root->addChild(leaf);
    leaf->setTransform(math::translation(-5, 0, 0) * shape);
    leaf->addGeometry(test::dots(ring));
    std::vector<math::Vector3> points;
    points.reserve(ring.size());
    for (const math::Vector3& p : ring) points.push_back(math::transformPoint(shape, p));
    const scene::BoundingBox box = root->getBoundingBox();
    const double size = std::hypot(box.max[0] - box.min[0], box.max[1] - box.min[1], box.max[2] - box.min[2]);
    std::vector<math::Vector3> all = points;
    for (const math::Vector3& p : points) all.push_back({p[0], p[1], p[2] + 2 * size});

    for (const char* view : {"front", "top", "oblique", "200,-70"})
      for (const auto& [width, height] : {std::pair(1600, 900), {500, 900}}) {
        SCOPED_TRACE(testing::Message() << name << ' ' << view << ' ' << width);
        Camera direction;
        ASSERT_TRUE(direction.setView(view));
        Framing framing(direction, box);
        framing.add(*root);
        const scene::BoundingBox still = seenThrough(framing.camera(width, height), points, double(width) / height);
        root->setTransform(math::translation(5, 0, 2 * size));  // and now also where it is at another step
        framing.add(*root);
        root->setTransform(math::translation(5, 0, 0));
        const scene::BoundingBox moving = seenThrough(framing.camera(width, height), all, double(width) / height);
        EXPECT_TRUE(isCentred(still, 0.05));
        EXPECT_NEAR(moving.min[1] + moving.max[1], 0, 0.05);
        for (const auto& [seen, least] : {std::pair(still, 0.9), {moving, 0.88}}) {
          EXPECT_LT(extent(seen), 1);
          EXPECT_TRUE(extent(seen) > least || seen.max[2] > -0.07) << "unless the eye would come too close";
        }
      }
  }
}

TEST(Framing, LeavesRoomForTurningAboutTheMiddle) {
  std::vector<math::Vector3> corners;
  scene::BoundingBox box;
  for (int i = 0; i < 8; ++i) {
    corners.push_back({i & 1 ? 30.0 : -10.0, i & 2 ? 8.0 : 3.0, i & 4 ? 107.0 : 100.0});
    box.add(corners.back());
  }
  const util::YPointer<scene::SceneElement> element(new scene::SceneElement);
  element->addGeometry(test::dots(corners));
  const math::Matrix4 toMiddle = math::translation(-10, -5.5, 0), back = math::translation(10, 5.5, 0);
  for (const auto& [width, height] : {std::pair(1600, 900), {500, 900}, {100, 100}})
    for (const double elevation : {-90.0, 0.0, 25.0, 90.0}) {
      SCOPED_TRACE(testing::Message() << width << " x " << height << " at " << elevation);
      const double aspect = double(width) / height;
      Camera direction;
      direction.elevation = elevation;
      Framing still(direction, box), framing = still;
      still.add(*element);
      framing.addTurning(*element);
      const Camera pivoted = framing.camera(width, height), centred = framing.camera(width, height, &still);
      EXPECT_NEAR(pivoted.center[0], 10, 0.01);
      EXPECT_NEAR(pivoted.center[1], 5.5, 0.01);
      EXPECT_TRUE(isCentred(seenThrough(centred, corners, aspect), 0.02));
      scene::BoundingBox seen;
      for (int turn = 0; turn < 72; ++turn) {
        const math::Matrix4 turning = back * math::rotation(turn * M_PI / 36, {0, 0, 1}) * toMiddle;
        std::vector<math::Vector3> turned;
        turned.reserve(corners.size());
        for (const math::Vector3& p : corners) turned.push_back(math::transformPoint(turning, p));
        EXPECT_LT(extent(seenThrough(centred, turned, aspect)), 1) << turn;
        seen.add(seenThrough(pivoted, turned, aspect));
      }
      EXPECT_LT(extent(seen), 1);
      EXPECT_GT(extent(seen), 0.9);
      EXPECT_NEAR(seen.min[1] + seen.max[1], 0, 0.05);
    }
}

TEST(Framing, ManyPartsAreFramedAsTheWholeOfThemIs) {
  const util::YPointer<scene::SceneElement> parts(new scene::SceneElement), whole(new scene::SceneElement);
  std::vector<math::Vector3> all;
  // In no order, and many at the same depth, so that most lie between those before them; but for the last, which are
  // the lowest.
  for (int i = 0; i < 500; ++i) {
    const double x = i * 37 % 101 * 0.2, y = i * 53 % 7 * 3.1, z = i < 490 ? i * 29 % 11 * 1.7 : -1 - i % 3;
    const std::vector<math::Vector3> points{{x, y, z}, {x + 0.3, y, z}};
    all.insert(all.end(), points.begin(), points.end());
    const util::YPointer<scene::SceneElement> part(new scene::SceneElement);
    part->addGeometry(test::dots(points));
    parts->addChild(part);
  }
  whole->addGeometry(test::dots(all));
  for (const bool turns : {false, true})
    for (const char* view : {"front", "top", "oblique"}) {
      SCOPED_TRACE(testing::Message() << view << (turns ? " turning" : ""));
      Camera direction;
      ASSERT_TRUE(direction.setView(view));
      std::vector<Camera> cameras;
      for (const auto& root : {parts, whole}) {
        Framing framing(direction, whole->getBoundingBox());
        turns ? framing.addTurning(*root) : framing.add(*root);
        cameras.push_back(framing.camera(1600, 900));
      }
      EXPECT_EQ(cameras[0].transform(), cameras[1].transform());
    }
}

/// A board that stands along x, of faces, lines or points.
util::YPointer<scene::Geometry> board(scene::Kind kind, float length) {
  const util::YPointer<scene::Geometry> geometry(new scene::Geometry);
  geometry->kind = kind;
  geometry->positions = {0, 0, 0, length, 0, 0, length, 0, 2, 0, 0, 2};
  geometry->indices = {0, 1, 2, 3};
  if (kind == scene::KindFaces) geometry->indices = {0, 1, 2, 0, 2, 3};
  if (kind == scene::KindLines) geometry->indices = {0, 1, 1, 2, 2, 3, 3, 0};
  scene::prepare(*geometry);
  return geometry;
}

TEST(Subject, IsWhatASectionLeaves) {
  const auto subject = [](scene::Kind kind, float length, const util::YPointer<scene::Section>& section) {
    const util::YPointer<scene::Scene> scene(new scene::Scene);
    const util::YPointer<scene::SceneElement> root(new scene::SceneElement), leaf(new scene::SceneElement);
    leaf->setTransform(math::translation(3, 0, 0) * math::scaling(2, 1, 1));
    leaf->addGeometry(board(kind, length));
    root->addChild(leaf);
    scene->setSection(section);
    return Subject(Camera(), *leaf, *scene);
  };
  const auto at = [](double x) { return util::YPointer<scene::Section>(new scene::Section({{2, 0, 0}, 2 * x})); };
  struct Row {
    const char* name;
    scene::Kind kind;
    double place;
    float left;
  };
  for (const Row& row : {Row{"faces", scene::KindFaces, 11, 4},
                         {"lines", scene::KindLines, 11, 4},
                         {"points", scene::KindPoints, 11, 0},
                         {"nothing is cut", scene::KindFaces, 24, 10}}) {
    SCOPED_TRACE(row.name);
    const Subject cut = subject(row.kind, 10, at(row.place)), left = subject(row.kind, row.left, nullptr);
    const math::Matrix4 seen = cut.camera({500, 400}, 0.1).transform(),
                        wanted = left.camera({500, 400}, 0.1).transform();
    for (std::size_t i = 0; i < 16; ++i) EXPECT_NEAR(seen.data()[i], wanted.data()[i], 1e-3) << i;
    EXPECT_FALSE(cut == subject(row.kind, 9, nullptr));
    EXPECT_TRUE(cut == subject(row.kind, 10, at(row.place)));
  }
  EXPECT_FALSE(subject(scene::KindFaces, 10, at(2.9)));
}

TEST(Picking, ClicksNearPointsPickTheNearestOfThem) {
  scene::Scene scene;
  const util::YPointer<scene::SceneElement> root(new scene::SceneElement);
  root->setTransform(math::translation(1, 2, 3) * math::scaling(2, 2, 2));
  root->addGeometry(test::dots({{0, 0, 0}, {0, 5, 0}, {0.5, 0, 0.25}}));  // the second lies behind the first
  scene.setRootNode(root);
  const QSize panel(400, 300);
  Camera camera;
  camera.azimuth = camera.elevation = 0;
  camera.center = {1, 2, 3};
  camera.scale = 0.2;
  for (const bool orthographic : {false, true}) {
    SCOPED_TRACE(orthographic);
    camera.orthographic = orthographic;
    const auto at = [&](double x, double y) { return pick(scene, rayThrough({200 + x, 150 + y}, panel, camera)); };
    EXPECT_EQ(at(0, 0), (math::Vector3{1, 2, 3}));
    EXPECT_EQ(at(2, -2), (math::Vector3{1, 2, 3}));
    EXPECT_EQ(at(4, 0), std::nullopt);
    const double pixels = 150 / (std::tan(scene::HalfOpening) * camera.distance) * camera.scale;  // of a unit
    EXPECT_EQ(at(pixels, -0.5 * pixels), (math::Vector3{2, 2, 3.5}));
    EXPECT_EQ(at(pixels + 4, -0.5 * pixels), std::nullopt);
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
