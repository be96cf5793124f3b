// Where each kind of trajectory brings the scene.
#include "module_trajectory/trajectory.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QTemporaryDir>
#include <cmath>

#include "module_scene/gui/viewer.h"
#include "module_scene/mesh/preparation.h"
#include "module_trajectory/animationtrajectory.h"
#include "module_trajectory/camerapath.h"
#include "module_trajectory/marker.h"
#include "module_trajectory/pointfile.h"
#include "module_trajectory/turntable.h"

namespace nubo::trajectory {
namespace {

using scene::SceneElement;

class Trajectory : public testing::Test {
 protected:
  void SetUp() override {
    m_Root = new SceneElement(QStringLiteral("root"));
    util::YPointer<scene::Geometry> triangle(new scene::Geometry);
    triangle->positions = {1, 1, 0, 5, 1, 0, 1, 3, 7};
    triangle->indices = {0, 1, 2};
    prepare(*triangle);
    m_Root->addGeometry(triangle);
    scene::_GlobalScene()->setRootNode(m_Root);
  }
  void TearDown() override { TrajectoryHandler::getInstance()->clear(); }

  gui::Viewer m_Viewer;
  util::YPointer<SceneElement> m_Root;
};

void expectNear(const math::Vector3& actual, const math::Vector3& expected) {
  for (int axis = 0; axis < 3; ++axis) EXPECT_NEAR(actual[axis], expected[axis], 1e-6) << "axis " << axis;
}

TEST_F(Trajectory, PointsMoveAnElementInTheSceneAndKeepItsTurnAndSize) {
  const util::YPointer<SceneElement> upright(new SceneElement), arm(new SceneElement);
  m_Root->addChild(upright);
  upright->addChild(arm);
  upright->setTransform(math::translation(10, 0, 0) * math::rotation(1.1, {1, 0, 0}) * math::scaling(2, 3, 4));
  arm->setTransform(math::translation(1, 2, 3) * math::rotation(0.5, {0, 0, 1}) * math::scaling(2, 2, 2));
  const math::Matrix4 before = arm->getTransform();
  TrajectoryInfo info({{0, 0, 0, 0}, {4, 5, 6, 1}}, arm);

  info.setPosition(1);
  expectNear(math::transformPoint(arm->getGlobalTransform(), {0, 0, 0}), {4, 5, 6});
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j) EXPECT_EQ(arm->getTransform()(i, j), before(i, j));
  info.setPosition(2);
  EXPECT_EQ(info.getPosition(), 1u);
  expectNear(math::transformPoint(arm->getGlobalTransform(), {0, 0, 0}), {4, 5, 6});
}

TEST_F(Trajectory, TurntableTurnsOnceAboutTheMiddle) {
  m_Root->setTransform(math::translation(100, 0, 0));
  const math::Vector3 corner = math::transformPoint(m_Root->getTransform(), {5, 1, 0});
  auto info = createTurntable(4);
  ASSERT_TRUE(info);
  ASSERT_EQ(info->getMatrixMapList()->size(), 4u);
  // The middle is (103, 2); the corner is 2 to the right of it and 1 to the front.
  const math::Vector3 expected[]{corner, {104, 4, 0}, {101, 3, 0}, {102, 0, 0}};
  for (std::uint64_t step : {1, 3, 2, 0}) {
    info->setPosition(step);
    EXPECT_EQ(info->getPosition(), step);
    expectNear(math::transformPoint(m_Root->getGlobalTransform(), {5, 1, 0}), expected[step]);
  }
  info->setPosition(4);
  EXPECT_EQ(info->getPosition(), 0u);
  EXPECT_FALSE(createTurntable(0));
  EXPECT_FALSE(createTurntable(-3));
  scene::_GlobalScene()->setRootNode(nullptr);
  EXPECT_FALSE(createTurntable(4));
}

TEST_F(Trajectory, AnimationsAreSampledUpToTheirEnd) {
  const util::YPointer<SceneElement> arm(new SceneElement), hand(new SceneElement);
  const QQuaternion none, quarter = QQuaternion::fromAxisAndAngle(0, 0, 1, 90);
  scene::Animation first, second;
  first.duration = 1;
  first.tracks.push_back({arm, {{0, {0, 0, 0}}, {1, {8, 0, 0}}}, {{0, none}, {1, quarter}}, {{0, {2, 2, 2}}}});
  second.duration = 0.5;
  second.tracks.push_back({hand, {{0.25, {1, 0, 0}}, {0.5, {3, 0, 0}}}, {{0, none}}, {{0, {1, 1, 1}}}});

  QString error;
  auto info = createAnimationTrajectory({first, second}, 4, error);
  ASSERT_TRUE(info) << qPrintable(error);
  ASSERT_EQ(info->getMatrixMapList()->size(), 5u);
  for (const MatrixMap& step : *info->getMatrixMapList()) EXPECT_EQ(step.size(), 2u);
  info->setPosition(2);  // scaled by 2, turned and moved half the way
  expectNear(math::transformPoint(arm->getTransform(), {1, 0, 0}), {4 + std::sqrt(2), std::sqrt(2), 0});
  expectNear(math::transformPoint(hand->getTransform(), {0, 0, 0}), {3, 0, 0});
  info->setPosition(0);
  expectNear(math::transformPoint(hand->getTransform(), {0, 0, 0}), {1, 0, 0});
  info->setPosition(4);
  expectNear(math::transformPoint(arm->getTransform(), {1, 0, 0}), {8, 2, 0});
  expectNear(math::transformPoint(hand->getTransform(), {0, 0, 0}), {3, 0, 0});

  struct Row {
    const char* name;
    double duration, framesPerSecond;
    std::size_t steps;  ///< 0: it is refused
  };
  for (const Row& row : {Row{"an end between frames is not left out", 1, 3.5, 5},
                         Row{"an end on a frame is the last", 1.1, 50, 56},  // 55.00000000000001 frames
                         Row{"too long", 1e12, 25, 0}, Row{"no frames", 1, 0, 0}}) {
    SCOPED_TRACE(row.name);
    error.clear();
    first.duration = first.tracks[0].translations[1].time = row.duration;
    info = createAnimationTrajectory({first}, row.framesPerSecond, error);
    EXPECT_EQ(error.isEmpty(), row.steps > 0);
    ASSERT_EQ(info ? info->getMatrixMapList()->size() : 0, row.steps);
    if (!info) continue;
    info->setPosition(row.steps - 1);
    expectNear(math::transformPoint(arm->getTransform(), {0, 0, 0}), {8, 0, 0});
  }
  error.clear();
  EXPECT_FALSE(createAnimationTrajectory({}, 25, error));
  EXPECT_FALSE(error.isEmpty());
}

TEST_F(Trajectory, PointFilesAreReadAsPeopleWriteThem) {
  const QTemporaryDir folder;
  const auto read = [&](const QByteArray& content, QString& error) {
    QFile file(folder.filePath(QStringLiteral("points.csv")));
    EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(content);
    file.close();
    error.clear();
    return readPointFile(file.fileName(), error);
  };
  QString error;
  const std::deque<Point> expected{{1, 2, 3, 0}, {-4, 5e-1, 6, 7}};
  for (const char* content :
       {"1,2,3\n-4,.5,6,7\n", "\xEF\xBB\xBF# made by hand\r\n\r\nx;y;z;value\r\n1;2;3\r\n-4;0.5;6;7\r\n",
        "1 2\t3 # the first\n  -4   0.5 6  7", "x, y, z\n1 , 2 , 3,\n-4, 5e-1, 6, 7\n"})
    EXPECT_EQ(read(content, error), expected) << content << qPrintable(error);

  struct Row {
    const char* content;
    const char* says;
  };
  for (const Row& row : {Row{"1,2,3\n1,2\n", "line 2: 2 values"}, Row{"x,y,z\n\n1,2,3,4,5\n", "line 3: 5 values"},
                         Row{"1,2,3\n1,two,3\n", "line 2: 'two' is not a number"}, Row{"1,2,nan\n", "line 1"},
                         Row{"1,,3\n", "line 1"}, Row{"1, ,3\n", "line 1"}, Row{"x,y,z\nu,v,w\n", "line 2"},
                         Row{"# none\n", "no points"}, Row{"x;y,left\n1,5;2;3\n", "line 2: both ',' and ';'"}}) {
    EXPECT_TRUE(read(row.content, error).empty()) << row.content;
    EXPECT_TRUE(
        error.startsWith(QStringLiteral("cannot read '%1'").arg(folder.filePath(QStringLiteral("points.csv")))));
    EXPECT_TRUE(error.contains(QLatin1String(row.says))) << qPrintable(error);
  }
  EXPECT_TRUE(readPointFile(folder.filePath(QStringLiteral("none.csv")), error).empty());
  EXPECT_TRUE(error.contains(QStringLiteral("none.csv")));
}

TEST_F(Trajectory, CamerasPassAllPlacesOfTheirPathWithoutACorner) {
  const QTemporaryDir folder;
  QString error;
  const auto read = [&](const QByteArray& content, double rate) {
    QFile file(folder.filePath(QStringLiteral("way.csv")));
    EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(content);
    file.close();
    return readCameraPath(file.fileName(), rate, error);
  };
  const auto straight = read("t,x,y,z,tx,ty,tz\n5,0,9,0,1,1,1\n6,2,9,0,1,1,1\n8,6,9,0,1,1,1\n", 4);
  ASSERT_EQ(straight.size(), 13U) << qPrintable(error);
  for (std::size_t i = 0; i < straight.size(); ++i) {
    expectNear(straight[i].eye, {2 * double(i) / 4, 9, 0});
    expectNear(straight[i].target, {1, 1, 1});
  }
  constexpr double Rate = 1000;
  const math::Vector3 places[]{{3, 0, 0}, {0, 3, 1}, {-3, 0, 0}, {3, 0, 0}};
  const auto round = read("0,3,0,0,0,0,0\n1,0,3,1,0,0,0\n3,-3,0,0,0,0,0\n4,3,0,0,0,0,0\n", Rate);
  ASSERT_EQ(round.size(), 4001U) << qPrintable(error);
  const std::size_t times[]{0, 1000, 3000, 4000};
  for (std::size_t i = 0; i < 4; ++i) {
    expectNear(round[times[i]].eye, places[i]);
    // It is closed, so that the last place is the first again.
    const std::size_t before = times[i] == 0 ? 3999 : times[i] - 1, after = times[i] == 4000 ? 1 : times[i] + 1;
    for (std::size_t axis = 0; axis < 3; ++axis)
      EXPECT_NEAR((places[i][axis] - round[before].eye[axis]) * Rate, (round[after].eye[axis] - places[i][axis]) * Rate,
                  0.05)
          << "speed before and after place " << i;
  }
  struct Row {
    const char *content, *says;
  };
  for (const Row& row :
       {Row{"0,1,1,1,0,0,0\n", "two places"}, Row{"0,1,1,1,0,0,0\n0,2,1,1,0,0,0\n", "line 2: its time"},
        Row{"0,1,1,1,1,1,1\n", "line 1: the camera stands"}, Row{"0,1,1\n", "line 1: 3 values"},
        Row{"0,1,1,1,0,0,0\n9e9,2,1,1,0,0,0\n", "more than"}}) {
    EXPECT_TRUE(read(row.content, 25).empty()) << row.content;
    EXPECT_TRUE(error.contains(QLatin1String(row.says))) << qPrintable(error);
  }
}

TEST_F(Trajectory, MarkerFollowsItsPathInTheScene) {
  m_Root->setTransform(math::rotation(1, {1, 0, 0}));
  const std::deque<Point> points{{1, 2, 3, 0}, {4, 5, 6, 0}, {4, 5, 9, 0}};
  const util::YPointer<SceneElement> marker = createMarker(points);
  ASSERT_TRUE(marker);
  EXPECT_EQ(marker->getLayer(), scene::LayerMarkers);
  ASSERT_EQ(marker->getGeometries().size(), 1u);
  EXPECT_TRUE(marker->getGeometries()[0]->closed);
  expectNear(math::transformPoint(marker->getGlobalTransform(), {0, 0, 0}), {1, 2, 3});

  SceneElement* path = m_Root->find(QStringLiteral("path"));
  ASSERT_TRUE(path);
  EXPECT_EQ(path->getLayer(), scene::LayerTrajectory);
  EXPECT_EQ(path->getGeometries()[0]->primitiveCount(), 2u);
  expectNear(math::transformPoint(path->getGlobalTransform(), {4, 5, 9}), {4, 5, 9});

  auto* handler = TrajectoryHandler::getInstance();
  handler->select(std::make_unique<TrajectoryInfo>(points, marker));
  EXPECT_EQ(handler->getSelectedMode(), TrajectoryHandler::Points);
  handler->moveTo(2);
  expectNear(math::transformPoint(marker->getGlobalTransform(), {0, 0, 0}), {4, 5, 9});
  {
    const TrajectoryDrive drive;
    handler->moveTo(0);
    EXPECT_EQ(handler->getTrajectoryInfo()->getPosition(), 2u) << "somebody else drives";
  }
  handler->moveTo(0);
  expectNear(math::transformPoint(marker->getGlobalTransform(), {0, 0, 0}), {1, 2, 3});
  handler->select(createTurntable(3));
  // What drives leave at another step is put back when the last has ended, unless it was moved since.
  const auto turntable = handler->getAdvancedTrajectoryInfo();
  for (const bool isMoved : {false, true}) {
    handler->moveTo(1);
    {
      const TrajectoryDrive first;
      turntable->setPosition(2);
      TrajectoryDrive second;
      handler->putBack();
      EXPECT_EQ(turntable->getPosition(), 2u);
    }
    if (isMoved) handler->moveTo(0);
    handler->putBack();
    EXPECT_EQ(turntable->getPosition(), isMoved ? 0u : 1u);
  }
  EXPECT_EQ(handler->getSelectedMode(), TrajectoryHandler::Matrices);
  EXPECT_FALSE(handler->getTrajectoryInfo());
  handler->clear();
  EXPECT_EQ(handler->getSelectedMode(), TrajectoryHandler::None);
}

}  // namespace
}  // namespace nubo::trajectory
