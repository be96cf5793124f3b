// Files of each kind that matters, written here, and what must come out of them; and files that are broken.
#include <gtest/gtest.h>

#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <cmath>
#include <cstring>

#include "module_scene/io/importer.h"

namespace nubo::io {
namespace {

using scene::Geometry;
using scene::SceneElement;

class Import : public testing::Test {
 protected:
  QString write(const QString& name, const QByteArray& content) {
    QFile file(m_Folder.filePath(name));
    EXPECT_TRUE(file.open(QIODevice::WriteOnly) && file.write(content) == content.size());
    return file.fileName();
  }
  static void collect(SceneElement* element, std::vector<Geometry*>& geometries) {
    for (const auto& geometry : element->getGeometries()) geometries.push_back(geometry.get());
    for (const auto& child : element->getChildren()) collect(child.get(), geometries);
  }
  /// The only geometry of a file that must be readable.
  Geometry* single(const QString& fileName) {
    m_Result = importFile(fileName);
    if (!m_Result.root) {
      ADD_FAILURE() << qPrintable(m_Result.error);
      return nullptr;
    }
    std::vector<Geometry*> geometries;
    collect(m_Result.root.get(), geometries);
    EXPECT_EQ(geometries.size(), 1u);
    return geometries.empty() ? nullptr : geometries[0];
  }

  const QTemporaryDir m_Folder;
  ImportResult m_Result;
};

using Triangle = std::array<float, 9>;

QByteArray binaryStl(const std::vector<Triangle>& triangles, std::uint32_t announced) {
  QByteArray bytes(80, ' ');
  bytes.append(reinterpret_cast<const char*>(&announced), 4);
  for (const Triangle& triangle : triangles) {
    bytes.append(12, '\0');
    bytes.append(reinterpret_cast<const char*>(triangle.data()), 36);
    bytes.append(2, '\0');
  }
  return bytes;
}

const std::vector<Triangle> Tetrahedron{
    {0, 0, 0, 0, 1, 0, 1, 0, 0}, {0, 0, 0, 1, 0, 0, 0, 0, 1}, {0, 0, 0, 0, 0, 1, 0, 1, 0}, {1, 0, 0, 0, 1, 0, 0, 0, 1}};

TEST_F(Import, StlOfBothKindsGivesTheSameClosedMesh) {
  QByteArray text = "solid tetrahedron\n";
  for (const Triangle& t : Tetrahedron) {
    text += "facet normal 0 0 0\nouter loop\n";
    for (int corner = 0; corner < 9; corner += 3) {
      text += "vertex";
      for (int axis = 0; axis < 3; ++axis) text += ' ' + QByteArray::number(double(t[corner + axis]));
      text += '\n';
    }
    text += "endloop\nendfacet\n";
  }
  text += "endsolid tetrahedron\n";
  QByteArray misleading = binaryStl(Tetrahedron, 4);
  misleading.replace(0, 5, "solid");
  for (const auto& [name, content] :
       {std::pair<QString, QByteArray>{QStringLiteral("binary.STL"), binaryStl(Tetrahedron, 4)},
        {QStringLiteral("misleading.stl"), misleading},
        {QStringLiteral("trailing.stl"), binaryStl(Tetrahedron, 4) + "more"},
        {QStringLiteral("text.stl"), text}}) {
    const Geometry* mesh = single(write(name, content));
    ASSERT_TRUE(mesh) << qPrintable(name);
    EXPECT_EQ(mesh->primitiveCount(), 4u);
    EXPECT_EQ(mesh->vertexCount(), 12u);  // four corners with three creased normals each
    EXPECT_TRUE(mesh->closed);
    EXPECT_EQ(m_Result.root->getBoundingBox().max, (math::Vector3{1, 1, 1}));
  }
}

TEST_F(Import, ObjWithMaterialAndTextureStandsUpright) {
  QImage picture(2, 2, QImage::Format_RGB32);
  picture.fill(Qt::blue);
  picture.setPixelColor(0, 1, Qt::red);  // lower left
  ASSERT_TRUE(picture.save(m_Folder.filePath(QStringLiteral("Picture.png"))));
  write(QStringLiteral("box.mtl"),
        "newmtl paint\nKd 0.5 0.25 1\nKs 1 1 1\nNs 50\nd 1\nillum 2\nmap_Kd textures\\picture.PNG\n"
        "newmtl glass\nKd 1 0 0\nd 0.25\n");
  const QByteArray vertices = "mtllib box.mtl\nv 0 0 0\nv 1 0 0\nv 1 5 0\nv 0 5 0\nvt 0 0\nvt 1 0\nvt 1 1\nvt 0 1\n";
  const Geometry* mesh = single(write(QStringLiteral("box.obj"), vertices + "usemtl paint\nf 1/1 2/2 3/3 4/4\n"));
  ASSERT_TRUE(mesh);
  EXPECT_EQ(mesh->primitiveCount(), 2u);
  EXPECT_EQ(mesh->vertexCount(), 4u);
  // Five high: y of the file is the scene's z.
  const scene::BoundingBox box = m_Result.root->getBoundingBox();
  EXPECT_NEAR(box.max[2] - box.min[2], 5, 1e-6);
  EXPECT_NEAR(box.max[1] - box.min[1], 0, 1e-6);

  const scene::Material& paint = *mesh->material;
  EXPECT_FLOAT_EQ(paint.diffuse[1], 0.25f);
  EXPECT_FLOAT_EQ(paint.specular[0], 1.0f);
  EXPECT_FLOAT_EQ(paint.shininess, 50.0f);
  EXPECT_FALSE(mesh->transparent);
  ASSERT_TRUE(paint.texture) << "found in spite of its folder and case";
  EXPECT_TRUE(paint.texture->repeats());
  EXPECT_EQ(paint.texture->getImage().pixelColor(0, 1), QColor(Qt::red));
  for (std::size_t v = 0; v < 4; ++v) {
    EXPECT_EQ(mesh->texCoords[v * 2], mesh->positions[v * 3]);
    EXPECT_EQ(mesh->texCoords[v * 2 + 1], mesh->positions[v * 3 + 1] / 5) << "v = 0 is the picture's lower edge";
  }

  ASSERT_TRUE(QFile::remove(m_Folder.filePath(QStringLiteral("Picture.png"))));
  const Geometry* bare = single(write(QStringLiteral("bare.obj"), vertices + "usemtl paint\nf 1/1 2/2 3/3\n"));
  ASSERT_TRUE(bare);
  EXPECT_FALSE(bare->material->texture);
  EXPECT_TRUE(m_Result.warnings.contains(QStringLiteral("the texture 'textures\\picture.PNG' is missing")));

  const Geometry* glass = single(write(QStringLiteral("glass.obj"), vertices + "usemtl glass\nf 1 2 3\n"));
  ASSERT_TRUE(glass);
  EXPECT_TRUE(glass->transparent);
  EXPECT_FLOAT_EQ(glass->material->diffuse[3], 0.25f);
}

TEST_F(Import, PlyKeepsColoursAndPoints) {
  const QByteArray points =
      "ply\nformat ascii 1.0\nelement vertex 3\nproperty float x\nproperty float y\nproperty float z\n"
      "property uchar red\nproperty uchar green\nproperty uchar blue\nend_header\n"
      "0 0 0 255 0 0\n1 0 0 0 255 0\n0 0 4 0 0 255\n";
  const Geometry* cloud = single(write(QStringLiteral("cloud.ply"), points));
  ASSERT_TRUE(cloud);
  EXPECT_EQ(cloud->kind, scene::KindPoints);
  EXPECT_EQ(cloud->primitiveCount(), 3u);
  EXPECT_EQ(m_Result.root->getBoundingBox().max, (math::Vector3{1, 0, 4})) << "z is up already";
  for (std::size_t v = 0; v < 3; ++v) {
    const bool first = cloud->positions[v * 3] == 0 && cloud->positions[v * 3 + 2] == 0;
    EXPECT_EQ(cloud->colors[v * 4], first ? 255 : 0);
    EXPECT_EQ(cloud->colors[v * 4 + 3], 255);
  }

  QByteArray binary =
      "ply\nformat binary_little_endian 1.0\nelement vertex 300\nproperty float x\nproperty float y\nproperty float z\n"
      "property uchar red\nproperty uchar green\nproperty uchar blue\nend_header\n";
  for (int i = 0; i < 300; ++i) {
    const float position[3]{float(i), 0, 1};
    binary.append(reinterpret_cast<const char*>(position), 12);
    binary.append(char(i)).append("\n\r", 2);  // bytes that text would end a line with
  }
  const Geometry* many = single(write(QStringLiteral("many.ply"), binary));
  ASSERT_TRUE(many);
  EXPECT_EQ(many->primitiveCount(), 300u);
  EXPECT_EQ(many->box.max, (math::Vector3{299, 0, 1}));

  const QByteArray swapped = QByteArray(
                                 "ply\nformat binary_big_endian 1.0\nelement vertex 4\nproperty double x\n"
                                 "property float y\nproperty short z\nproperty float red\nproperty float green\n"
                                 "property float blue\nelement face 1\nproperty uchar flags\n"
                                 "property list uchar ushort vertex_index\nend_header\n") +
                             QByteArray::fromHex(
                                 "0000000000000000"
                                 "00000000"
                                 "0000"
                                 "3f8000000000000000000000"
                                 "3ff0000000000000"
                                 "00000000"
                                 "0000"
                                 "3f8000000000000000000000"
                                 "3ff0000000000000"
                                 "40000000"
                                 "0000"
                                 "3f8000000000000000000000"
                                 "0000000000000000"
                                 "40000000"
                                 "fffd"
                                 "3f8000000000000000000000"
                                 "07"
                                 "04"
                                 "0000"
                                 "0001"
                                 "0002"
                                 "0003");
  const Geometry* big = single(write(QStringLiteral("swapped.ply"), swapped));
  ASSERT_TRUE(big);
  EXPECT_EQ(big->primitiveCount(), 2u);
  EXPECT_EQ(big->box.min, (math::Vector3{0, 0, -3}));
  EXPECT_EQ(big->box.max, (math::Vector3{1, 2, 0}));
  EXPECT_EQ(big->colors[0], 255);
  EXPECT_EQ(big->colors[1], 0);
  EXPECT_TRUE(importFile(write(QStringLiteral("cut.ply"), swapped.left(swapped.size() - 1)))
                  .error.endsWith(QStringLiteral("truncated")));

  QByteArray mesh =
      "ply\nformat ascii 1.0\nelement vertex 4\nproperty float x\nproperty float y\nproperty float z\n"
      "element face 1\nproperty list uchar int vertex_indices\nend_header\n0 0 0\n1 0 0\n1 1 0\n0 1 0\n4 0 1 2 3\n";
  const Geometry* square = single(write(QStringLiteral("square.ply"), mesh));
  ASSERT_TRUE(square);
  EXPECT_EQ(square->kind, scene::KindFaces);
  EXPECT_EQ(square->primitiveCount(), 2u);
}

/// A triangle that a rotation by a quarter turn about y and a move along x play on, one second long.
QByteArray animatedGltf() {
  QByteArray data;
  const auto add = [&](std::initializer_list<float> values) {
    for (const float value : values) data.append(reinterpret_cast<const char*>(&value), 4);
  };
  add({0, 0, 0, 1, 0, 0, 0, 1, 0});                           // 0: positions, 36 bytes
  add({0, 1});                                                // 36: times
  add({0, 0, 0, 1, 0, std::sqrt(0.5f), 0, std::sqrt(0.5f)});  // 44: rotations
  add({0, 0, 0, 2, 0, 0});                                    // 76: translations, to 100
  return R"({"asset":{"version":"2.0"},"scene":0,"scenes":[{"nodes":[0]}],
"nodes":[{"name":"arm","mesh":0}],
"meshes":[{"primitives":[{"attributes":{"POSITION":0},"material":0}]}],
"materials":[{"pbrMetallicRoughness":{"baseColorFactor":[1,0.2140411,0,0.5],"metallicFactor":0}}],
"animations":[{"samplers":[{"input":1,"output":2},{"input":1,"output":3}],
"channels":[{"sampler":0,"target":{"node":0,"path":"rotation"}},{"sampler":1,"target":{"node":0,"path":"translation"}}]}],
"accessors":[{"bufferView":0,"componentType":5126,"count":3,"type":"VEC3","min":[0,0,0],"max":[1,1,0]},
{"bufferView":1,"componentType":5126,"count":2,"type":"SCALAR","min":[0],"max":[1]},
{"bufferView":2,"componentType":5126,"count":2,"type":"VEC4"},{"bufferView":3,"componentType":5126,"count":2,"type":"VEC3"}],
"bufferViews":[{"buffer":0,"byteOffset":0,"byteLength":36},{"buffer":0,"byteOffset":36,"byteLength":8},
{"buffer":0,"byteOffset":44,"byteLength":32},{"buffer":0,"byteOffset":76,"byteLength":24}],
"buffers":[{"byteLength":100,"uri":"data:application/octet-stream;base64,)" +
         data.toBase64() + R"("}]})";
}

TEST_F(Import, GltfHandsOutItsAnimation) {
  const Geometry* mesh = single(write(QStringLiteral("arm.gltf"), animatedGltf()));
  ASSERT_TRUE(mesh);
  EXPECT_FALSE(mesh->transparent) << "opaque unless it asks for blending";
  EXPECT_NEAR(mesh->material->diffuse[1], 0.5, 0.001) << "linear 0.214 is half of what is shown";
  EXPECT_NEAR(m_Result.root->getBoundingBox().max[2], 1, 1e-6) << "y is up in the file";

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

TEST_F(Import, TellsOfBonesInsteadOfHandingOutAnAnimationOfNothing) {
  const QByteArray skinned = R"(xof 0303txt 0032
Frame Root {
 Frame Bone { }
 Frame Body {
  Mesh { 3; 0;0;0;, 1;0;0;, 0;1;0;; 1; 3;0,1,2;;
   XSkinMeshHeader { 1; 1; 1; }
   SkinWeights { "Bone"; 3; 0,1,2; 1.0,1.0,1.0;
    1.0,0.0,0.0,0.0,0.0,1.0,0.0,0.0,0.0,0.0,1.0,0.0,0.0,0.0,0.0,1.0;; }
  }
 }
}
AnimationSet { Animation { { Bone } AnimationKey { 2; 2; 0;3;0.0,0.0,0.0;;, 10;3;1.0,0.0,0.0;;; } } }
)";
  ASSERT_TRUE(single(write(QStringLiteral("skinned.x"), skinned))) << m_Result.error.toStdString();
  EXPECT_TRUE(m_Result.root->find(QStringLiteral("Bone")));
  EXPECT_EQ(m_Result.animations.size(), 0u);
  EXPECT_EQ(m_Result.warnings.size(), 1);
  const QByteArray moved = QByteArray(skinned).replace("{ Bone }", "{ Body }");
  ASSERT_TRUE(single(write(QStringLiteral("moved.x"), moved)));
  EXPECT_EQ(m_Result.animations.size(), 1u);
  ASSERT_TRUE(single(write(QStringLiteral("still.x"), skinned.left(skinned.indexOf("AnimationSet")))));
  EXPECT_EQ(m_Result.warnings.size(), 0) << "what does not move is shown as it is";
}

/// One triangle with a corner 1 along x, one 2 along y, and one 3 along z.
QByteArray corners(const char* separator) { return QByteArray("1 0 0 0 2 0 0 0 3").replace(" ", separator); }

QByteArray colladaWithUp(const char* axis) {
  return QByteArray(R"(<COLLADA xmlns="http://www.collada.org/2005/11/COLLADASchema" version="1.4.1">
<asset><up_axis>AXIS</up_axis></asset>
<library_geometries><geometry id="g"><mesh>
<source id="p"><float_array id="a" count="9">CORNERS</float_array><technique_common>
<accessor source="#a" count="3" stride="3"><param name="X" type="float"/><param name="Y" type="float"/>
<param name="Z" type="float"/></accessor></technique_common></source>
<vertices id="v"><input semantic="POSITION" source="#p"/></vertices>
<triangles count="1"><input semantic="VERTEX" source="#v" offset="0"/><p>0 1 2</p></triangles>
</mesh></geometry></library_geometries>
<library_visual_scenes><visual_scene id="s"><node id="n"><instance_geometry url="#g"/></node></visual_scene>
</library_visual_scenes><scene><instance_visual_scene url="#s"/></scene></COLLADA>)")
      .replace("AXIS", axis)
      .replace("CORNERS", corners(" "));
}

/// Axes by number, of which the third is left over.
QByteArray fbxWithAxes(int up, int front, int frontSign, int right) {
  return R"(; FBX 7.3.0 project file
FBXHeaderExtension:  {
  FBXHeaderVersion: 1003
  FBXVersion: 7300
}
GlobalSettings:  {
  Version: 1000
  Properties70:  {
    P: "UpAxis", "int", "Integer", "",)" +
         QByteArray::number(up) + R"(
    P: "UpAxisSign", "int", "Integer", "",1
    P: "FrontAxis", "int", "Integer", "",)" +
         QByteArray::number(front) + R"(
    P: "FrontAxisSign", "int", "Integer", "",)" +
         QByteArray::number(frontSign) + R"(
    P: "CoordAxis", "int", "Integer", "",)" +
         QByteArray::number(right) + R"(
    P: "CoordAxisSign", "int", "Integer", "",1
    P: "UnitScaleFactor", "double", "Number", "",1
  }
}
Objects:  {
  Geometry: 10, "Geometry::", "Mesh" {
    Vertices: *9 {
      a: )" +
         corners(",") +
         R"(
    }
    PolygonVertexIndex: *3 {
      a: 0,1,-3
    }
    GeometryVersion: 124
  }
  Model: 20, "Model::corner", "Mesh" {
    Version: 232
  }
}
Connections:  {
  C: "OO",20,0
  C: "OO",10,20
}
)";
}

QByteArray chunk3ds(quint16 id, const QByteArray& content) {
  const quint32 size = quint32(content.size()) + 6;
  return QByteArray(reinterpret_cast<const char*>(&id), 2) + QByteArray(reinterpret_cast<const char*>(&size), 4) +
         content;
}

QByteArray corners3ds() {
  const float points[]{1, 0, 0, 0, 2, 0, 0, 0, 3};
  const quint16 three = 3, face[]{1, 0, 1, 2, 0};
  const auto bytes = [](const auto& value) {
    return QByteArray(reinterpret_cast<const char*>(&value), int(sizeof value));
  };
  const QByteArray mesh = chunk3ds(0x4110, bytes(three) + bytes(points)) + chunk3ds(0x4120, bytes(face));
  return chunk3ds(0x4d4d, chunk3ds(0x3d3d, chunk3ds(0x4000, QByteArray("corner\0", 7) + chunk3ds(0x4100, mesh))));
}

TEST_F(Import, ModelsStandUprightAndAreNotMirrored) {
  struct Row {
    const char* file;
    QByteArray content;
    math::Vector3 x, y, z;  ///< where these axes of the file point in the scene
  };
  const math::Vector3 right{1, 0, 0}, left{-1, 0, 0}, back{0, 1, 0}, front{0, -1, 0}, up{0, 0, 1};
  for (const Row& row :
       {Row{"z.dae", colladaWithUp("Z_UP"), right, back, up}, Row{"y.dae", colladaWithUp("Y_UP"), right, up, front},
        Row{"x.dae", colladaWithUp("X_UP"), up, left, front}, Row{"y.fbx", fbxWithAxes(1, 2, 1, 0), right, up, front},
        Row{"z.fbx", fbxWithAxes(2, 1, -1, 0), right, back, up}, Row{"z.3ds", corners3ds(), right, back, up}}) {
    SCOPED_TRACE(row.file);
    if (!single(write(QString::fromLatin1(row.file), row.content))) continue;
    scene::BoundingBox expected;
    for (const auto& [axis, length] : {std::pair(row.x, 1), {row.y, 2}, {row.z, 3}})
      expected.add(math::Vector3{axis[0] * length, axis[1] * length, axis[2] * length});
    const scene::BoundingBox box = m_Result.root->getBoundingBox();
    for (std::size_t i = 0; i < 3; ++i) {
      EXPECT_NEAR(box.min[i], expected.min[i], 1e-6) << "axis " << i;
      EXPECT_NEAR(box.max[i], expected.max[i], 1e-6) << "axis " << i;
    }
  }
}

/// A triangle as a DirectX file.
QByteArray xFile(const char* face, const char* normals, const char* weighted) {
  return QByteArray("xof 0303txt 0032\ntemplate Mesh { <3D82AB44-62DA-11cf-AB39-0020AF71E433> DWORD nVertices; }\n") +
         "# Mesh {\nFrame Mesh { Mesh triangle { 3; 0;0;0;, 1;0;0;, 0;1;0;; 1; " + face +
         "; MeshNormals { 3; 0;0;1;, 0;0;1;, 0;0;1;; 1; " + normals + "; }\n" +
         "XSkinMeshHeader { 1; 1; 1; }\nSkinWeights { \"Mesh\"; 1; " + weighted +
         "; 1.0; 1.;0.;0.;0.;0.;1.;0.;0.;0.;0.;1.;0.;0.;0.;0.;1.;; } } }\n";
}

TEST_F(Import, WhatCannotBeReadIsOneLineWithFileAndCause) {
  const QByteArray nans = binaryStl({{NAN, NAN, NAN, NAN, NAN, NAN, NAN, NAN, NAN}}, 1);
  QByteArray garbage;
  for (unsigned i = 0, x = 1; i < 5000; ++i) garbage.append(char((x = x * 1664525u + 1013904223u) >> 24));
  write(QStringLiteral("far.mtl"), "");
  struct Row {
    QString file;
    const char* cause;  // empty: Assimp's words
  };
  const std::vector<Row> rows{
      {m_Folder.filePath(QStringLiteral("none.obj")), "there is no such file"},
      {m_Folder.path(), "it is a directory"},
      {write(QStringLiteral("empty.glb"), ""), "the file is empty"},
      {write(QStringLiteral("short.stl"), binaryStl(Tetrahedron, 5)), "truncated"},
      {write(QStringLiteral("stub.stl"), "\1\2\3"), ""},
      {write(QStringLiteral("garbage.stl"), garbage), "truncated"},
      {write(QStringLiteral("garbage.obj"), garbage), ""},
      {write(QStringLiteral("garbage.ply"), garbage), ""},
      {write(QStringLiteral("garbage.glb"), garbage), ""},
      {write(QStringLiteral("garbage.3ds"), garbage), ""},
      {write(QStringLiteral("garbage.fbx"), garbage), ""},
      {write(QStringLiteral("garbage.dae"), garbage), ""},
      {write(QStringLiteral("cut.gltf"), animatedGltf().left(700)), ""},
      {write(QStringLiteral("cut.ply"), "ply\nformat ascii 1.0\nelement vertex 3\nprop"), "truncated"},
      {write(QStringLiteral("lost.off"), "OFF\n3 4\n0.1 0.2 0.3"), ""},
      {write(QStringLiteral("nothing.stl"), binaryStl({}, 0)), "it holds no geometry"},
      {write(QStringLiteral("nothing.obj"), "# nothing\n"), ""},
      {write(QStringLiteral("nan.stl"), nans), "none of its geometry has usable coordinates"},
      {write(QStringLiteral("nan.obj"), "v nan nan nan\nv nan 0 0\nv 0 nan 0\nf 1 2 3\n"), ""},
      {write(QStringLiteral("huge.off"), "OFF\n353535235358 6 0\n0 0 0\n"), "truncated or damaged"},
      {write(QStringLiteral("huge.ply"),
             "ply\nformat ascii 1.0\nelement vertex 4000000000\nproperty float x\n"
             "property float y\nproperty float z\nend_header\n0 0 0\n"),
       "truncated or damaged"},
      {write(QStringLiteral("face.x"), xFile("3;0,1,3;", "3;0,1,2;", "0")), "do not fit its vertices"},
      {write(QStringLiteral("corners.x"), xFile("4000000000;0,1,2;", "3;0,1,2;", "0")), "do not fit its vertices"},
      {write(QStringLiteral("normal.x"), xFile("3;0,1,2;", "3;0,-1,2;", "0")), "do not fit its vertices"},
      {write(QStringLiteral("weight.x"), xFile("3;0,1,2;", "3;0,1,2;", "9")), "do not fit its vertices"},
      {write(QStringLiteral("what.unheardof"), garbage), "its format is not known"},
  };
  EXPECT_EQ(importFile(write(QStringLiteral("whole.x"), xFile("3;0,1,2;", "3;0,1,2;", "2"))).error, "");
  for (const Row& row : rows) {
    const ImportResult result = importFile(row.file);
    EXPECT_FALSE(result.root) << qPrintable(row.file);
    const QString start = QStringLiteral("cannot read '%1': ").arg(row.file);
    EXPECT_TRUE(result.error.startsWith(start)) << qPrintable(result.error);
    EXPECT_GT(result.error.size(), start.size());
    EXPECT_FALSE(result.error.contains(QLatin1Char('\n')));
    EXPECT_TRUE(result.error.contains(QLatin1String(row.cause))) << qPrintable(result.error);
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
