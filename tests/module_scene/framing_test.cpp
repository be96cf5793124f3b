#include "module_scene/gui/framing.h"

#include <gmock/gmock.h>

#include "module_scene/draw/viewpoint.h"
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

}  // namespace
}  // namespace nubo::gui
