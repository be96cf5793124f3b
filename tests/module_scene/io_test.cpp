// What must come out of files of each kind that matters, and of files that are broken; they lie in tests/data/models.
#include <gtest/gtest.h>

#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTextStream>
#include <algorithm>
#include <array>
#include <cmath>

#include "module_scene/io/importer.h"

namespace nubo::io {
namespace {

using scene::Geometry;
using scene::SceneElement;

QString model(const QString& name) { return QStringLiteral(NUBO_TEST_DATA "/models/") + name; }

class Import : public testing::Test {
 protected:
  static void collect(SceneElement* element, std::vector<Geometry*>& geometries) {
    for (const auto& geometry : element->getGeometries()) geometries.push_back(geometry.get());
    for (const auto& child : element->getChildren()) collect(child.get(), geometries);
  }
  /// The only geometry of a file that must be readable; one without anything where it is not.
  const Geometry& single(const char* name) {
    static const util::YPointer<Geometry> None(new Geometry);
    SCOPED_TRACE(name);
    m_Result = importFile(model(QString::fromLatin1(name)));
    EXPECT_EQ(m_Result.error, QString());
    std::vector<Geometry*> geometries;
    if (m_Result.root) collect(m_Result.root.get(), geometries);
    EXPECT_EQ(geometries.size(), 1u);
    return geometries.empty() ? *None : *geometries[0];
  }
  void expectBox(const math::Vector3& min, const math::Vector3& max) const {
    ASSERT_TRUE(m_Result.root);
    const scene::BoundingBox box = m_Result.root->getBoundingBox();
    for (std::size_t axis = 0; axis < 3; ++axis) {
      EXPECT_NEAR(box.min[axis], min[axis], 1e-6) << "axis " << axis;
      EXPECT_NEAR(box.max[axis], max[axis], 1e-6) << "axis " << axis;
    }
  }

  ImportResult m_Result;
};

TEST_F(Import, StlOfBothKindsGivesTheSameClosedMesh) {
  // One says that it is text, which it isn't; in one there is more behind the triangles.
  for (const char* name : {"binary.STL", "misleading.stl", "trailing.stl", "text.stl"}) {
    SCOPED_TRACE(name);
    const Geometry& tetrahedron = single(name);
    EXPECT_EQ(tetrahedron.primitiveCount(), 4u);
    EXPECT_EQ(tetrahedron.vertexCount(), 12u);  // four corners with three creased normals each
    EXPECT_TRUE(tetrahedron.closed);
    expectBox({0, 0, 0}, {1, 1, 1});
  }
}

TEST_F(Import, StlJoinsTheCornersThatMeetAndNoOthers) {
  constexpr int Edge = 60;  // squares
  QByteArray triangles;
  for (int square = 0; square < Edge * Edge; ++square)
    for (const auto& corners : {std::array{0, 1, 3}, std::array{0, 3, 2}}) {
      std::vector<float> numbers{0, 0, 1};
      for (const int corner : corners) {
        const int x = square % Edge + corner % 2, y = square / Edge + corner / 2;
        numbers.insert(numbers.end(), {float(x), float(y), 0});
      }
      triangles.append(reinterpret_cast<const char*>(numbers.data()), 48).append("\0\0", 2);
    }
  const std::uint32_t count = 2 * Edge * Edge;
  const QTemporaryDir folder;
  QFile file(folder.filePath("grid.stl"));
  ASSERT_TRUE(file.open(QIODevice::WriteOnly));
  file.write(QByteArray(80, 0) + QByteArray(reinterpret_cast<const char*>(&count), 4) + triangles);
  file.close();
  m_Result = importFile(file.fileName());
  ASSERT_TRUE(m_Result.root) << m_Result.error.toStdString();
  std::vector<Geometry*> grids;
  collect(m_Result.root.get(), grids);
  ASSERT_EQ(grids.size(), 1u);
  EXPECT_EQ(grids[0]->primitiveCount(), 2u * Edge * Edge);
  // Some are kept more than once, for drawing them in pieces.
  EXPECT_LT(grids[0]->vertexCount(), std::size_t(1.2 * (Edge + 1) * (Edge + 1)));
  for (std::size_t i = 0; i < grids[0]->indices.size(); i += 3) {
    const auto corner = [&](std::size_t of) {
      return &grids[0]->positions[std::size_t(grids[0]->indices[i + of]) * 3];
    };
    const float *a = corner(0), *b = corner(1), *c = corner(2);
    ASSERT_EQ((b[0] - a[0]) * (c[1] - a[1]) - (b[1] - a[1]) * (c[0] - a[0]), 1.0f) << "face " << i / 3;
  }
  expectBox({0, 0, 0}, {Edge, Edge, 0});
}

TEST_F(Import, ObjWithMaterialAndTextureStandsUpright) {
  const Geometry& mesh = single("box.obj");
  ASSERT_EQ(mesh.primitiveCount(), 2u);
  ASSERT_EQ(mesh.vertexCount(), 4u);
  expectBox({0, 0, 0}, {1, 0, 5});  // y of the file is the scene's z
  const scene::Material& paint = *mesh.material;
  EXPECT_FLOAT_EQ(paint.diffuse[1], 0.25f);
  EXPECT_FLOAT_EQ(paint.specular[0], 1.0f);
  EXPECT_FLOAT_EQ(paint.shininess, 50.0f);
  EXPECT_FALSE(mesh.transparent);
  ASSERT_TRUE(paint.texture) << "found in spite of its folder and case";
  EXPECT_TRUE(paint.texture->repeats());
  EXPECT_EQ(paint.texture->getImage().pixelColor(0, 1), QColor(Qt::red));
  for (std::size_t v = 0; v < 4; ++v) {
    EXPECT_EQ(mesh.texCoords[v * 2], mesh.positions[v * 3]);
    EXPECT_EQ(mesh.texCoords[v * 2 + 1], mesh.positions[v * 3 + 1] / 5) << "v = 0 is the picture's lower edge";
  }

  EXPECT_FALSE(single("lost.obj").material->texture);
  EXPECT_TRUE(m_Result.warnings.contains(QStringLiteral("the texture 'textures\\nowhere.png' is missing")));
  const Geometry& glass = single("glass.obj");
  EXPECT_TRUE(glass.transparent);
  EXPECT_FLOAT_EQ(glass.material->diffuse[3], 0.25f);
}

TEST_F(Import, PlyKeepsColoursAndPoints) {
  struct Row {
    const char* name;
    scene::Kind kind;
    std::size_t primitives;
    math::Vector3 min, max;
  };
  for (const Row& row : {Row{"cloud.ply", scene::KindPoints, 3, {0, 0, 0}, {1, 0, 4}},
                         Row{"many.ply", scene::KindPoints, 300, {0, 0, 1}, {299, 0, 1}},
                         Row{"swapped.ply", scene::KindFaces, 2, {0, 0, -3}, {1, 2, 0}},
                         Row{"square.ply", scene::KindFaces, 2, {0, 0, 0}, {1, 1, 0}}}) {
    SCOPED_TRACE(row.name);
    const Geometry& geometry = single(row.name);
    EXPECT_EQ(geometry.kind, row.kind);
    EXPECT_EQ(geometry.primitiveCount(), row.primitives);
    expectBox(row.min, row.max);
  }
  EXPECT_EQ(single("swapped.ply").colors[0], 255);
  EXPECT_EQ(single("swapped.ply").colors[1], 0);
  const Geometry& cloud = single("cloud.ply");
  for (std::size_t v = 0; v < 3; ++v) {
    const bool first = cloud.positions[v * 3] == 0 && cloud.positions[v * 3 + 2] == 0;
    EXPECT_EQ(cloud.colors[v * 4], first ? 255 : 0);
    EXPECT_EQ(cloud.colors[v * 4 + 3], 255);
  }
}

// A triangle that a rotation by a quarter turn about y and a move along x play on, one second long.
TEST_F(Import, GltfHandsOutItsAnimation) {
  const Geometry& mesh = single("arm.gltf");
  EXPECT_FALSE(mesh.transparent) << "opaque unless it asks for blending";
  EXPECT_NEAR(mesh.material->diffuse[1], 0.5, 0.001) << "linear 0.214 is half of what is shown";
  expectBox({0, 0, 0}, {1, 0, 1});  // y is up in the file

  ASSERT_EQ(m_Result.animations.size(), 1u);
  const scene::Animation& animation = m_Result.animations[0];
  EXPECT_NEAR(animation.duration, 1, 1e-6);
  ASSERT_EQ(animation.tracks.size(), 1u);
  const scene::AnimationTrack& track = animation.tracks[0];
  EXPECT_EQ(track.element.get(), m_Result.root->find(QStringLiteral("arm")));
  ASSERT_EQ(track.rotations.size(), 2u);
  EXPECT_NEAR(track.rotations[1].value.y(), std::sqrt(0.5), 1e-5);
  EXPECT_NEAR(track.translations.back().value[0], 2, 1e-6);
  ASSERT_FALSE(track.scales.empty());
  EXPECT_NEAR(track.scales[0].value[1], 1, 1e-6);
}

TEST_F(Import, HandsOutAnimationsOfBones) {
  // The bone moves, the body moves, nothing does.
  for (const auto& [name, animations] : {std::pair("skinned.x", 1u), {"moved.x", 1u}, {"still.x", 0u}}) {
    SCOPED_TRACE(name);
    single(name);
    EXPECT_EQ(m_Result.animations.size(), animations);
    EXPECT_TRUE(m_Result.warnings.isEmpty());
  }
}

// A triangle with a corner 1 along x, one 2 along y, and one 3 along z, in files with different axes.
TEST_F(Import, ModelsStandUprightAndAreNotMirrored) {
  struct Row {
    const char* name;
    math::Vector3 x, y, z;  ///< where these axes of the file point in the scene
  };
  const math::Vector3 right{1, 0, 0}, left{-1, 0, 0}, back{0, 1, 0}, front{0, -1, 0}, up{0, 0, 1};
  for (const Row& row :
       {Row{"z.dae", right, back, up}, Row{"y.dae", right, up, front}, Row{"x.dae", up, left, front},
        Row{"y.fbx", right, up, front}, Row{"z.fbx", right, back, up}, Row{"z.3ds", right, back, up}}) {
    SCOPED_TRACE(row.name);
    single(row.name);
    scene::BoundingBox expected;
    for (const auto& [axis, length] : {std::pair(row.x, 1), {row.y, 2}, {row.z, 3}})
      expected.add(math::Vector3{axis[0] * length, axis[1] * length, axis[2] * length});
    expectBox(expected.min, expected.max);
  }
}

TEST_F(Import, AnEmptySolidIsNoReasonToRefuseTheOthers) {
  const QTemporaryDir folder;
  QFile file(folder.filePath("two.stl"));
  ASSERT_TRUE(file.open(QIODevice::WriteOnly));
  file.write(
      "solid one\nfacet normal 0 0 1\nouter loop\nvertex 0 0 0\nvertex 2 0 0\nvertex 0 3 0\nendloop\nendfacet\n"
      "endsolid one\nsolid none\nendsolid none\n");
  file.close();
  m_Result = importFile(file.fileName());
  ASSERT_TRUE(m_Result.root) << m_Result.error.toStdString();
  expectBox({0, 0, 0}, {2, 3, 0});
}

TEST_F(Import, TextIsReadInAllItsCodings) {
  const QString name = QString::fromUtf8("Fläche_€_𝄞");
  const QString text = QStringLiteral("o %1\nv 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n").arg(name);
  const QTemporaryDir folder;
  for (const char* coding : {"UTF-8", "UTF-16LE", "UTF-16BE"}) {
    SCOPED_TRACE(coding);
    QFile file(folder.filePath("text.obj"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    QTextStream stream(&file);
    stream.setCodec(coding);
    stream.setGenerateByteOrderMark(true);
    stream << text;
    stream.flush();
    file.close();
    m_Result = importFile(file.fileName());
    ASSERT_TRUE(m_Result.root) << m_Result.error.toStdString();
    EXPECT_TRUE(m_Result.root->find(name));
  }
}

TEST_F(Import, ColoursThatNobodySeesAreNone) {
  const QTemporaryDir folder;
  QFile file(folder.filePath("plain.amf"));
  ASSERT_TRUE(file.open(QIODevice::WriteOnly));
  QByteArray vertices;
  for (const char* place : {"<x>0</x><y>0</y><z>0</z>", "<x>1</x><y>0</y><z>0</z>", "<x>0</x><y>0</y><z>1</z>"})
    vertices += QByteArray("<vertex><coordinates>") + place + "</coordinates></vertex>";
  file.write("<?xml version=\"1.0\"?><amf><object id=\"1\"><mesh><vertices>" + vertices +
             "</vertices><volume><triangle><v1>0</v1><v2>1</v2><v3>2</v3></triangle></volume></mesh></object></amf>");
  file.close();
  m_Result = importFile(file.fileName());
  ASSERT_TRUE(m_Result.root) << m_Result.error.toStdString();
  std::vector<Geometry*> meshes;
  collect(m_Result.root.get(), meshes);
  ASSERT_EQ(meshes.size(), 1u);
  EXPECT_TRUE(meshes[0]->colors.empty());
  EXPECT_FALSE(meshes[0]->transparent);
}

void expectRefusal(const QString& file, const char* cause) {
  const ImportResult result = importFile(file);
  EXPECT_FALSE(result.root) << qPrintable(file);
  const QString start = QStringLiteral("cannot read '%1': ").arg(file);
  EXPECT_TRUE(result.error.startsWith(start)) << qPrintable(result.error);
  EXPECT_GT(result.error.size(), start.size());
  EXPECT_FALSE(result.error.contains(QLatin1Char('\n')));
  EXPECT_TRUE(result.error.contains(QLatin1String(cause))) << qPrintable(result.error);
}

TEST_F(Import, WhatCannotBeReadIsOneLineWithFileAndCause) {
  const char *const unfit = "do not fit its vertices", *const others = "";  // in somebody else's words
  for (const auto& [name, cause] : {std::pair("none.obj", "there is no such file"),
                                    {".", "it is a directory"},
                                    {"empty.glb", "the file is empty"},
                                    {"short.stl", "truncated"},
                                    {"stub.stl", others},
                                    {"cut.gltf", others},
                                    {"cut.ply", "truncated"},
                                    {"swapped.ply", "truncated"},
                                    {"lost.off", others},
                                    {"nothing.stl", "it holds no geometry"},
                                    {"nothing.obj", others},
                                    {"nan.stl", "none of its geometry has usable coordinates"},
                                    {"nan.obj", others},
                                    {"huge.off", "truncated or damaged"},
                                    {"huge.ply", "truncated or damaged"},
                                    {"face.x", unfit},
                                    {"corners.x", unfit},
                                    {"normal.x", unfit},
                                    {"weight.x", unfit}})
    expectRefusal(model(QStringLiteral("broken/") + QLatin1String(name)), cause);
  EXPECT_EQ(importFile(model(QStringLiteral("whole.x"))).error, "");

  const QTemporaryDir folder;
  for (const auto& [suffix, cause] : {std::pair("stl", "truncated"),
                                      {"obj", others},
                                      {"ply", others},
                                      {"glb", others},
                                      {"3ds", others},
                                      {"fbx", others},
                                      {"dae", others},
                                      {"unheardof", "its format is not known"}}) {
    const QString name = folder.filePath(QStringLiteral("garbage.") + QLatin1String(suffix));
    ASSERT_TRUE(QFile::copy(model(QStringLiteral("broken/garbage")), name));
    expectRefusal(name, cause);
  }
}

TEST_F(Import, EveryFileOfTheTestCollectionOpensOrGivesALine) {
  const QString collection = QStringLiteral("/usr/share/assimp/models");
  if (!QFileInfo(collection).isDir()) GTEST_SKIP() << "the package assimp-testmodels is not installed";
  int opened = 0;
  for (QDirIterator files(collection, QDir::Files, QDirIterator::Subdirectories); files.hasNext();) {
    const QString name = files.next();
    const ImportResult result = importFile(name);
    opened += bool(result.root);
    EXPECT_EQ(bool(result.root), result.error.isEmpty()) << qPrintable(name);
    EXPECT_FALSE(result.error.contains(QLatin1Char('\n'))) << qPrintable(result.error);
    std::vector<Geometry*> geometries;
    if (result.root) collect(result.root.get(), geometries);
    for (const Geometry* g : geometries) {
      EXPECT_FALSE(g->clusters.empty() || g->box.isEmpty()) << qPrintable(name);
      for (const std::uint32_t index : g->indices) ASSERT_LT(index, g->vertexCount()) << qPrintable(name);
    }
  }
  EXPECT_GT(opened, 300);
}

}  // namespace
}  // namespace nubo::io
