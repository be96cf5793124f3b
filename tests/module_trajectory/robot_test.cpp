// An arm of known lengths: a turning shoulder at (0, 0, 0.1), a forearm that begins 1 m from it and nods, and at 1 m
// from there a finger that slides half as far as the elbow turns, and 0.1 m.
#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <cmath>

#include "module_scene/gui/viewer.h"
#include "module_scene/io/importer.h"
#include "module_trajectory/jointfile.h"

namespace nubo::trajectory {
namespace {

constexpr const char* Arm = R"(<?xml version="1.0"?>
<robot name="arm">
  <material name="steel"><color rgba="0.2 0.4 0.6 1"/></material>
  <link name="base"><visual><geometry><box size="0.2 0.4 0.1"/></geometry></visual></link>
  <link name="upper"><visual><origin xyz="0.5 0 0" rpy="0 1.5707963267948966 0"/>
    <geometry><cylinder radius="0.05" length="1"/></geometry><material name="steel"/></visual></link>
  <link name="fore"><visual><origin xyz="0 3 0"/><geometry><sphere radius="0.2"/></geometry></visual></link>
  <link name="tool"><visual><geometry><mesh filename="package://arm_parts/meshes/tip.stl" scale="2 2 2"/></geometry>
    <material name="steel"/></visual>
    <visual><geometry><mesh filename="package://arm_parts/meshes/tip.stl" scale="2 2 2"/></geometry>
    <material name="steel"/></visual>
    <visual><geometry><mesh filename="package://arm_parts/lost.stl"/></geometry></visual></link>
  <joint name="shoulder" type="continuous"><parent link="base"/><child link="upper"/>
    <origin xyz="0 0 0.1"/><axis xyz="0 0 2"/></joint>
  <joint name="elbow" type="revolute"><parent link="upper"/><child link="fore"/>
    <origin xyz="1 0 0"/><axis xyz="0 1 0"/><limit lower="-1" upper="2" effort="1" velocity="1"/></joint>
  <joint name="finger" type="prismatic"><parent link="fore"/><child link="tool"/>
    <origin xyz="1 0 0"/><axis xyz="1 0 0"/><limit lower="0" upper="1" effort="1" velocity="1"/>
    <mimic joint="elbow" multiplier="0.5" offset="0.1"/></joint>
</robot>)";

class Robot : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(QDir(m_Folder.path()).mkpath("arm_parts/meshes") && QDir(m_Folder.path()).mkpath("arm_parts/urdf"));
    ASSERT_TRUE(QFile::copy(QStringLiteral(NUBO_TEST_DATA "/models/binary.STL"), file("arm_parts/meshes/tip.stl")));
    write("arm_parts/urdf/arm.urdf", Arm);
    m_Read = io::importFile(file("arm_parts/urdf/arm.urdf"));
    ASSERT_TRUE(m_Read.root) << m_Read.error.toStdString();
    scene::_GlobalScene()->setRootNode(m_Read.root);
  }
  QString file(const QString& name) const { return m_Folder.filePath(name); }
  QString write(const QString& name, const QByteArray& content) const {
    QFile out(file(name));
    EXPECT_TRUE(out.open(QIODevice::WriteOnly) && out.write(content) == content.size());
    return out.fileName();
  }
  scene::SceneElement& element(const char* name) { return *m_Read.root->find(QString::fromLatin1(name)); }

  const QTemporaryDir m_Folder;
  gui::Viewer m_Viewer;
  io::ImportResult m_Read;
};

TEST_F(Robot, StandsAsItIsDescribed) {
  EXPECT_EQ(m_Read.warnings, QStringList("its part 'package://arm_parts/lost.stl' is missing"));
  const scene::BoundingBox box = m_Read.root->getBoundingBox();
  const math::Vector3 min{-0.1, -0.2, -0.1}, max{4, 3.2, 2.1};  // of base, sphere and tip, a corner of 2 m
  for (std::size_t axis = 0; axis < 3; ++axis) {
    EXPECT_NEAR(box.min[axis], min[axis], 1e-6) << axis;
    EXPECT_NEAR(box.max[axis], max[axis], 1e-6) << axis;
  }
  const auto& tips = element("tool").getChildren();
  ASSERT_EQ(tips.size(), 2u);
  const auto& geometries = tips[0]->getChildren().at(0)->getGeometries();
  EXPECT_EQ(geometries, tips[1]->getChildren().at(0)->getGeometries());
  EXPECT_EQ(geometries.at(0)->material->diffuse, (std::array<float, 4>{0.2f, 0.4f, 0.6f, 1}));
  const scene::Joint* elbow = element("elbow").getJoint();
  ASSERT_TRUE(elbow);
  EXPECT_TRUE(elbow->turns && elbow->lower == -1 && elbow->upper == 2);
  EXPECT_FALSE(element("finger").getJoint()->turns);
}

TEST_F(Robot, HasItsToolWhereForwardKinematicsPutsIt) {
  const QString angles = write("angles.csv", "time;\"shoulder\";elbow\n0;0;0\n1;0.5;-0.25\n\n2;-2;1.5 # last\n");
  ASSERT_TRUE(namesJoints(angles, *m_Read.root));
  QString error;
  const auto steps = readJointFile(angles, *m_Read.root, error);
  ASSERT_TRUE(steps) << error.toStdString();
  ASSERT_EQ(steps->getMatrixMapList()->size(), 3u);
  const double values[][2]{{0, 0}, {0.5, -0.25}, {-2, 1.5}};
  for (std::size_t step = 3; step-- > 0;) {
    SCOPED_TRACE(step);
    steps->setPosition(step);
    const auto [shoulder, elbow] = values[step];
    const double reach = 1 + 0.5 * elbow + 0.1, wide = 1 + reach * std::cos(elbow);
    const math::Vector3 tool = math::transformPoint(element("tool").getGlobalTransform(), {0, 0, 0});
    EXPECT_NEAR(tool[0], wide * std::cos(shoulder), 1e-9);
    EXPECT_NEAR(tool[1], wide * std::sin(shoulder), 1e-9);
    EXPECT_NEAR(tool[2], 0.1 - reach * std::sin(elbow), 1e-9);
  }
}

TEST_F(Robot, FilesThatAreNotForItAreALine) {
  EXPECT_FALSE(namesJoints(write("points.csv", "x,y,z\n1,2,3\n"), *m_Read.root));
  for (const auto& [content, cause] : {std::pair("elbow\n1\nmuch\n", "line 3: 'much' is not a number"),
                                       {"elbow,x\n1\n", "line 2: 1 values stand"},
                                       {"elbow\n", "it moves no joint"}}) {
    QString error;
    EXPECT_FALSE(readJointFile(write("bad.csv", content), *m_Read.root, error));
    EXPECT_TRUE(error.contains(cause)) << error.toStdString();
  }
}

}  // namespace
}  // namespace nubo::trajectory
