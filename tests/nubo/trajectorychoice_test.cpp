// Which of the scene's animations play, and which element a trajectory of points moves.
#include "nubo/cli/trajectorychoice.h"

#include <gmock/gmock.h>

#include <QFile>
#include <QTemporaryDir>

#include "kernel/main/overseer.h"
#include "module_scene/gui/viewer.h"
#include "module_trajectory/trajectory.h"

namespace nubo::app {
namespace {

using scene::SceneElement;
using testing::HasSubstr;

class TrajectoryChoice : public testing::Test {
 protected:
  void SetUp() override {
    m_Line.trajectory = m_Folder.filePath("points.csv");
    QFile file(m_Line.trajectory);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("1,2,3\n4,5,6\n7,8,9\n");
    file.close();
    for (const char* name : {"car", "truck"}) {
      const util::YPointer<SceneElement> vehicle(new SceneElement(name)), wheel(new SceneElement("wheel"));
      vehicle->setTransform(math::translation(10, 0, 0));
      vehicle->addChild(wheel);
      m_Root->addChild(vehicle);
    }
    m_Root->addChild(new SceneElement("odd#1"));
    m_Root->setName("root");
    scene::_GlobalScene()->setRootNode(m_Root);
  }
  void TearDown() override { trajectory::TrajectoryHandler::getInstance()->clear(); }

  /// Where the element is at the second of the points; the error where there is none.
  std::string choose(const char* element) {
    m_Line.element = element;
    const QString error = chooseTrajectory(m_Line, {});
    if (error.isEmpty()) trajectory::TrajectoryHandler::getInstance()->getTrajectoryInfo()->setPosition(1);
    return error.toStdString();
  }
  static math::Vector3 place(const SceneElement& element) {
    return math::transformPoint(element.getGlobalTransform(), {0, 0, 0});
  }

  gui::Viewer m_Viewer;
  const QTemporaryDir m_Folder;
  const util::YPointer<SceneElement> m_Root{new SceneElement};
  CommandLine m_Line;
};

TEST_F(TrajectoryChoice, NamesTheElementThatPointsMove) {
  const math::Vector3 second{4, 5, 6}, start{10, 0, 0};
  SceneElement &car = *m_Root->getChildren()[0], &truck = *m_Root->getChildren()[1];
  EXPECT_EQ(choose("wheel#2"), "");
  EXPECT_EQ(place(*car.getChildren()[0]), start);
  EXPECT_EQ(place(*truck.getChildren()[0]), second);
  EXPECT_EQ(choose("car"), "");
  EXPECT_EQ(place(car), second);
  EXPECT_EQ(choose("odd#1"), "") << "a name may look like one with a number";
  EXPECT_EQ(place(*m_Root->getChildren()[2]), second);
  EXPECT_FALSE(m_Root->find("marker"));

  EXPECT_EQ(choose("root"), "") << "the line through the points does not move with it";
  EXPECT_EQ(place(*m_Root), second);
  const auto& beside = scene::_GlobalScene()->getRootNode()->getChildren();
  ASSERT_EQ(beside.size(), 2u);
  EXPECT_EQ(beside[1]->getName(), "path");

  m_Line.steps = {2, 2};
  EXPECT_EQ(choose("car"), "");
  EXPECT_EQ(place(car), (math::Vector3{7, 8, 9})) << "a part of a trajectory begins at its first step";
}

TEST_F(TrajectoryChoice, SaysWhichElementsThereAre) {
  EXPECT_THAT(choose("whele"), HasSubstr("has no such element; did you mean \"wheel\"?"));
  EXPECT_THAT(choose("propeller"), HasSubstr("the scene has \"root\", \"car\", \"wheel\", \"truck\", \"odd#1\""));
  EXPECT_THAT(choose("wheel"),
              HasSubstr("2 elements have this name; choose wheel#1 (in \"car\"), wheel#2 (in \"truck\")"));
  for (const char* wrong : {"wheel#0", "wheel#3", "wheel#", "#1", "wheel#x"})
    EXPECT_THAT(choose(wrong), HasSubstr("no such element")) << wrong;
  EXPECT_EQ(m_Root->getChildren().size(), 3u) << "nothing was added to the scene";
}

TEST_F(TrajectoryChoice, PlaysAnimationsThatGoTogetherOrOneByName) {
  const auto animation = [this](const char* name, int vehicle, double to) {
    scene::Animation moves;
    moves.name = name;
    moves.duration = 1;
    moves.tracks.push_back({m_Root->getChildren()[std::size_t(vehicle)],
                            {{0, {0, 0, 0}}, {1, {to, 0, 0}}},
                            {{0, QQuaternion()}},
                            {{0, {1, 1, 1}}}});
    return moves;
  };
  const std::vector<scene::Animation> all{animation("drive", 0, 1), animation("race", 0, 2), animation("load", 1, 3)};
  const main::Overseer overseer(m_Folder.filePath("nubo.ini"));  // whose settings tell the frame rate
  m_Line.trajectory.clear();
  struct Row {
    const char* name;
    double car, truck;  ///< where they are in the end; they begin at 10
  };
  for (const Row& row : {Row{"", 1, 3}, Row{"race", 2, 10}, Row{"load", 10, 3}}) {
    SCOPED_TRACE(row.name);
    for (const int vehicle : {0, 1})
      m_Root->getChildren()[std::size_t(vehicle)]->setTransform(math::translation(10, 0, 0));
    m_Line.animation = row.name;
    EXPECT_EQ(chooseTrajectory(m_Line, all), "");
    const auto info = trajectory::TrajectoryHandler::getInstance()->getAdvancedTrajectoryInfo();
    info->setPosition(info->getMatrixMapList()->size() - 1);
    EXPECT_EQ(place(*m_Root->getChildren()[0])[0], row.car);
    EXPECT_EQ(place(*m_Root->getChildren()[1])[0], row.truck);
  }
  m_Line.animation = "rce";
  EXPECT_THAT(chooseTrajectory(m_Line, all).toStdString(), HasSubstr("did you mean \"race\"?"));
}

}  // namespace
}  // namespace nubo::app
