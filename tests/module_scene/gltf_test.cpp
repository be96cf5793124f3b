// What glTF files of known content become. The models are one square of 1 by 2 in the plane of the screen, or part of
// it.
#include <gtest/gtest.h>

#include <QBuffer>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QtEndian>
#include <set>

#include "module_scene/io/importer.h"

namespace nubo::io {
namespace {

using scene::Geometry;

void collect(const scene::SceneElement& element, std::vector<const Geometry*>& geometries) {
  for (const auto& geometry : element.getGeometries()) geometries.push_back(geometry.get());
  for (const auto& child : element.getChildren()) collect(*child, geometries);
}

QString model(const char* name) { return QStringLiteral(NUBO_TEST_DATA "/gltf/") + name; }

TEST(Gltf, FilesOfKnownContentBecomeWhatTheySay) {
  struct Row {
    const char* file;
    std::size_t geometries, primitives;
    math::Vector3 max;  ///< y of the file is z here; the lowest corner is the origin
  };
  for (const Row& row :
       {Row{"modes.gltf", 7, 4 + 2 + 4 + 3 + 1 + 2 + 2, {13, 0, 2}}, Row{"colors.gltf", 1, 2, {1, 0, 2}},
        Row{"sparse.gltf", 1, 1, {3, 0, 0}}, Row{"quantized.gltf", 1, 1, {4, 0, 4}},
        Row{"instanced.gltf", 3, 6, {11, 0, 2}}, Row{"meshopt.gltf", 1, 2, {1, 0, 2}}}) {
    SCOPED_TRACE(row.file);
    const ImportResult result = importFile(model(row.file));
    ASSERT_TRUE(result.root) << result.error.toStdString();
    std::vector<const Geometry*> geometries;
    collect(*result.root, geometries);
    EXPECT_EQ(geometries.size(), row.geometries);
    std::size_t primitives = 0;
    for (const Geometry* geometry : geometries) primitives += geometry->primitiveCount();
    EXPECT_EQ(primitives, row.primitives);
    const math::Vector3 max = result.root->getBoundingBox().max;
    for (std::size_t axis = 0; axis < 3; ++axis) EXPECT_NEAR(max[axis], row.max[axis], 1e-5) << axis;
  }
}

// The first of a model's arrays has a block of memory of its own if it is long; none of the short ones may lie in it.
TEST(Gltf, ShortArraysLieBesideLongOnes) {
  constexpr int Vertices = 300000;
  const QTemporaryDir folder;
  QFile binary(folder.filePath("long.bin")), text(folder.filePath("long.gltf"));
  ASSERT_TRUE(binary.open(QIODevice::WriteOnly) && text.open(QIODevice::WriteOnly));
  std::vector<float> positions;
  for (int i = 0; i < Vertices; ++i) positions.insert(positions.end(), {float(i), float(i % 7), float(i % 11)});
  const quint32 indices[] = {0, 1, 2, 3, 4, 5};
  const auto write = [&](const void* data, std::size_t size) {
    return binary.write(static_cast<const char*>(data), qint64(size)) == qint64(size);
  };
  ASSERT_TRUE(write(positions.data(), positions.size() * sizeof(float)) && write(indices, sizeof indices));
  binary.close();
  text.write(QByteArray(R"({"asset": {"version": "2.0"}, "scene": 0, "scenes": [{"nodes": [0]}], "nodes": [{"mesh": 0}],
      "meshes": [{"primitives": [{"attributes": {"POSITION": 0}, "indices": 1}]}],
      "accessors": [{"bufferView": 0, "componentType": 5126, "count": 300000, "type": "VEC3"},
                    {"bufferView": 1, "componentType": 5125, "count": 6, "type": "SCALAR"}],
      "bufferViews": [{"buffer": 0, "byteLength": 3600000}, {"buffer": 0, "byteOffset": 3600000, "byteLength": 24}],
      "buffers": [{"byteLength": 3600024, "uri": "long.bin"}]})"));
  text.close();
  const ImportResult result = importFile(text.fileName());
  ASSERT_TRUE(result.root) << result.error.toStdString();
  std::vector<const Geometry*> geometries;
  collect(*result.root, geometries);
  ASSERT_EQ(geometries.size(), 1u);
  std::set<std::vector<float>> found;
  for (std::size_t v = 0; v < geometries[0]->vertexCount(); ++v)
    found.emplace(&geometries[0]->positions[v * 3], &geometries[0]->positions[v * 3] + 3);
  std::set<std::vector<float>> expected;
  for (int i = 0; i < 6; ++i) expected.insert({float(i), float(i % 7), float(i % 11)});
  EXPECT_EQ(found, expected);
}

TEST(Gltf, ColoursOfThreeComponentsAreOpaque) {
  const ImportResult result = importFile(model("colors.gltf"));
  ASSERT_TRUE(result.root);
  std::vector<const Geometry*> geometries;
  collect(*result.root, geometries);
  ASSERT_EQ(geometries.size(), 1u);
  const std::vector<std::uint8_t>& colors = geometries[0]->colors;
  ASSERT_EQ(colors.size(), 16u);
  for (std::size_t i = 0; i < colors.size(); ++i) EXPECT_EQ(colors[i], i % 4 == 0 || i % 4 == 3 ? 255 : 0);
}

TEST(Gltf, MaterialsAreThoseOfTheVariant) {
  for (const auto& [variant, material] : {std::pair("", "red"), {"day", "green"}, {"night", "blue"}, {"dusk", "red"}}) {
    ImportControl control;
    control.variant = variant;
    const ImportResult result = importFile(model("variants.gltf"), control);
    ASSERT_TRUE(result.root) << result.error.toStdString();
    EXPECT_EQ(result.variants, (QStringList{"day", "night"}));
    std::vector<const Geometry*> geometries;
    collect(*result.root, geometries);
    EXPECT_EQ(geometries.at(0)->material->name, material) << variant;
  }
}

TEST(Gltf, WhatCannotBeReadIsALine) {
  for (const auto& [file, cause] : {std::pair("required.gltf", "requires the extension KHR_texture_basisu"),
                                    {"short.gltf", "fewer bytes"},
                                    {"circle.gltf", "two parents"}}) {
    const QString error = importFile(model(file)).error;
    EXPECT_TRUE(error.contains(cause)) << file << ": " << error.toStdString();
  }
}

/// What is read of a text that is written into a file.
ImportResult readText(const QByteArray& text) {
  const QTemporaryDir folder;
  QFile file(folder.filePath("text.gltf"));
  EXPECT_TRUE(file.open(QIODevice::WriteOnly) && file.write(text) == text.size());
  file.close();
  return importFile(file.fileName());
}

TEST(Gltf, WhatIsWrongInATextIsToldByItsPlace) {
  const QByteArray begin = "{\n \"asset\": {\"version\": \"2.0\"},\n \"extras\": ";  // the value follows in column 12
  const auto nested = [](int depth) { return QByteArray(depth, '[') + QByteArray(depth, ']'); };
  for (const auto& [name, text, cause] :
       {std::tuple("a value that is none", begin + "maybe}", "line 3, column 12"),
        {"of a text with a mark of its byte order", "\xef\xbb\xbf" + begin + "maybe}", "line 3, column 12"},
        {"of a text in one line", QByteArray("{\"asset\": maybe}"), "line 1, column 11"},
        {"no number", begin + "NaN}", "line 3, column 12"},
        {"a number that is too great", begin + "1e999}", "line 3, column 12"},
        {"no UTF-8", begin + "\"\xc0\xaf\"}", "line 3, column 13"},
        {"more than one text", begin + "0}\n{}", "line 4, column 1"},
        {"a zero byte at the end", begin + "0}" + QByteArray(1, '\0') + "}", "line 3, column 14"},
        {"an end too soon", begin.left(20), "line 2, column 19"},
        {"nested more deeply than any stack", begin + nested(1000000) + "}", "nested too deeply"}}) {
    const QString error = readText(text).error;
    EXPECT_TRUE(error.contains(cause)) << name << ": " << error.toStdString();
  }
}

// As most programs have it, and whatever stands between them.
TEST(Gltf, OfMembersOfOneNameTheLastCounts) {
  QByteArray between;
  for (int i = 0; i < 40; ++i) between += "\"name " + QByteArray::number(i % 30) + "\":0,";
  const float corners[] = {0, 0, 0, 1, 0, 0, 0, 2, 0};
  const QByteArray content = QByteArray::fromRawData(reinterpret_cast<const char*>(corners), sizeof corners).toBase64();
  const ImportResult result = readText(R"({"asset":{"version":"2.0"},"nodes":[{"mesh":7}],"scenes":[{"nodes":[0]}],
      "buffers":[{"byteLength":36,"uri":"data:application/octet-stream;base64,)" +
                                       content + R"("}],"bufferViews":[{"buffer":0,"byteLength":36}],
      "accessors":[{"bufferView":0,"componentType":5126,"count":9,"count":1,"count":3,"type":"VEC3"}],
      "meshes":[{"primitives":[{"attributes":{"POSITION":1,)" +
                                       between + R"("POSITION":0}}]}],
      "nodes":[{"translation":[9,9,9],"mesh":0,"translation":[1,2,3]}]})");
  ASSERT_TRUE(result.root) << result.error.toStdString();
  std::vector<const Geometry*> geometries;
  collect(*result.root, geometries);
  ASSERT_EQ(geometries.size(), 1u);
  EXPECT_EQ(result.root->getBoundingBox().max, (math::Vector3{2, -3, 4})) << "y of the file is z here";
}

QByteArray binary(QByteArray json, const QByteArray& content) {
  json += QByteArray((4 - json.size() % 4) % 4, ' ');
  const auto word = [](int value) {
    const auto bytes = qToLittleEndian(quint32(value));
    return QByteArray(reinterpret_cast<const char*>(&bytes), 4);
  };
  return "glTF" + word(2) + word(28 + json.size() + content.size()) + word(json.size()) + "JSON" + json +
         word(content.size()) + QByteArray("BIN\0", 4) + content;
}

/// A binary file of one triangle with a picture of one red pixel, all of which lies in the file.
QByteArray binaryTriangle() {
  QByteArray content, picture;
  QBuffer buffer(&picture);
  QImage pixel(1, 1, QImage::Format_RGB32);
  pixel.fill(Qt::red);
  pixel.save(&buffer, "PNG");
  for (const float value : {0.0f, 0.0f, 0.0f, 1.0f, 0.0f, 0.0f, 0.0f, 2.0f, 0.0f, 0.0f, 0.0f, 1.0f, 0.0f, 0.0f, 1.0f})
    content.append(reinterpret_cast<const char*>(&value), sizeof value);
  content += picture + QByteArray((4 - picture.size() % 4) % 4, 0);
  QByteArray json =
      R"({"asset":{"version":"2.0"},"scenes":[{"nodes":[0]}],"nodes":[{"mesh":0,"name":"a \"}] {"}],
      "buffers" : [{"byteLength":)" +
      QByteArray::number(content.size()) + R"(}],"bufferViews":[{"buffer":0,"byteLength":36},
      {"buffer":0,"byteOffset":36,"byteLength":24},{"buffer":0,"byteOffset":60,"byteLength":)" +
      QByteArray::number(picture.size()) + R"(}],"accessors":[{"bufferView":0,"componentType":5126,"count":3,
      "type":"VEC3"},{"bufferView":1,"componentType":5126,"count":3,"type":"VEC2"}],"images":[{"bufferView":2,
      "mimeType":"image/png"}],"textures":[{"source":0}],"materials":[{"pbrMetallicRoughness":{"baseColorTexture":
      {"index":0},"metallicRoughnessTexture":{"index":0}},"emissiveFactor":[1,1,1],"emissiveTexture":{"index":0}}],"meshes":[{"primitives":[{"attributes":{"POSITION":0,"TEXCOORD_0":1},"material":0}]}]})";
  return binary(json, content);
}

TEST(Gltf, BinaryFilesAreReadWholeOrRefused) {
  const QTemporaryDir folder;
  const auto read = [&](const QByteArray& bytes) {
    QFile file(folder.filePath("triangle.glb"));
    EXPECT_TRUE(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size());
    file.close();
    return importFile(file.fileName());
  };
  const QByteArray sound = binaryTriangle();
  const ImportResult result = read(sound);
  ASSERT_TRUE(result.root) << result.error.toStdString();
  EXPECT_EQ(result.warnings, QStringList());
  EXPECT_EQ(result.root->getBoundingBox().max, (math::Vector3{1, 0, 2}));
  std::vector<const Geometry*> geometries;
  collect(*result.root, geometries);
  const std::vector<float>& texCoords = geometries.at(0)->texCoords;
  EXPECT_EQ(std::count(texCoords.begin(), texCoords.end(), 1.0f), 3);
  const scene::PhysicalMaterial& physical = *geometries.at(0)->material->physical;
  ASSERT_TRUE(physical.baseColorTexture.texture);
  EXPECT_EQ(physical.baseColorTexture.texture->getImage().pixelColor(0, 0), QColor(Qt::red));
  EXPECT_EQ(physical.emissive[0] + physical.metallic, 2);
  QByteArray other = sound;
  const ImportResult textureless = read(other.replace("\x89PNG", "nPNG"));
  EXPECT_EQ(textureless.warnings.filter("the embedded texture '1' cannot be read").size(), 1);
  collect(*textureless.root, geometries);
  EXPECT_EQ(geometries.at(1)->material->physical->emissive[0], 0) << "glows as a whole";
  EXPECT_EQ(geometries.at(1)->material->physical->metallic, 0);
  other = sound;
  for (const auto& [name, bytes, cause] :
       {std::tuple("cut in its content", sound.left(sound.size() - 8), "truncated"),
        {"cut in its text", sound.left(100), "truncated"},
        {"without content", sound.left(28 + int(sound.indexOf("BIN") - 32)), "fewer bytes"},
        {"another version", other.replace(4, 1, "\3"), "version"}}) {
    const QString error = read(bytes).error;
    EXPECT_TRUE(error.contains(cause)) << name << ": " << error.toStdString();
  }
}

// The program reads them in the file itself, while those of a file beside it come by shared memory.
TEST(Gltf, LongArraysAreThoseOfTheSameFileInTwo) {
  const QTemporaryDir folder;
  const auto read = [&](const char* name, const QByteArray& bytes) {
    QFile file(folder.filePath(name));
    EXPECT_TRUE(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size());
    file.close();
    return importFile(file.fileName());
  };
  for (const quint32 side : {300u, 200u}) {
    SCOPED_TRACE(side);
    const quint32 vertices = side * side;
    const bool areShort = vertices < 65536;
    std::vector<float> numbers(1, 7.0f);  // what comes before
    std::vector<quint32> indices{0, 1, vertices};
    for (quint32 i = 0; i < vertices; ++i) {
      const quint32 row = i / side;
      numbers.insert(numbers.end(), {float(i % side), float(row), float(i % 7)});
    }
    for (quint32 i = 0; i < vertices; ++i) numbers.insert(numbers.end(), {float(i % 3), 1, float(i % 5)});
    for (quint32 i = 0; i + side + 1 < vertices; ++i) indices.insert(indices.end(), {i, i + 1, i + side});
    const std::vector<quint16> shortOnes(indices.begin(), indices.end());
    const auto bytesOf = [](const auto& values) {
      return QByteArray(reinterpret_cast<const char*>(values.data()), int(values.size() * sizeof values[0]));
    };
    const QByteArray content = bytesOf(numbers) + (areShort ? bytesOf(shortOnes) : bytesOf(indices));
    const auto textWith = [&](const char* uri) {
      const auto size = int(vertices * 24);
      return QStringLiteral(
                 R"({"asset": {"version": "2.0"}, "scene": 0, "scenes": [{"nodes": [0]}], "nodes": [{"mesh": 0}],
          "meshes": [{"primitives": [{"attributes": {"POSITION": 0, "NORMAL": 1}, "indices": 2}]}], "accessors": [
          {"bufferView": 0, "componentType": 5126, "count": %1, "type": "VEC3"},
          {"bufferView": 0, "byteOffset": %2, "componentType": 5126, "count": %1, "type": "VEC3"},
          {"bufferView": 1, "componentType": %3, "count": %4, "type": "SCALAR"}], "bufferViews": [
          {"buffer": 0, "byteOffset": 4, "byteLength": %5, "byteStride": 12},
          {"buffer": 0, "byteOffset": %6, "byteLength": %7}], "buffers": [{%8"byteLength": %9}]})")
          .arg(vertices)
          .arg(size / 2)
          .arg(areShort ? 5123 : 5125)
          .arg(indices.size())
          .arg(size)
          .arg(size + 4)
          .arg(content.size() - size - 4)
          .arg(QLatin1String(uri))
          .arg(content.size())
          .toUtf8();
    };
    read("long.bin", content);
    std::vector<const Geometry*> found;
    const ImportResult two = read("long.gltf", textWith(R"("uri": "long.bin", )")),
                       one = read("long.glb", binary(textWith(""), content));
    for (const ImportResult* result : {&two, &one}) {
      ASSERT_TRUE(result->root) << result->error.toStdString();
      collect(*result->root, found);
    }
    ASSERT_EQ(found.size(), 2u);
    EXPECT_EQ(found[1]->primitiveCount(), indices.size() / 3 - 1) << "one names a vertex that is not there";
    EXPECT_EQ(found[1]->positions, found[0]->positions);
    EXPECT_EQ(found[1]->normals, found[0]->normals);
    EXPECT_EQ(found[1]->indices, found[0]->indices);
  }
}

TEST(Gltf, DracosMeshIsThePlainOne) {
  const QString collection = QStringLiteral("/usr/share/assimp/models/glTF2/");
  if (!QFileInfo(collection).isDir()) GTEST_SKIP() << "the package assimp-testmodels is not installed";
  const ImportResult packed = importFile(collection + "draco/2CylinderEngine.gltf");
  ASSERT_TRUE(packed.root) << packed.error.toStdString();
  std::vector<const Geometry*> geometries;
  collect(*packed.root, geometries);
  EXPECT_GT(geometries.size(), 20u);
  for (const Geometry* geometry : geometries) EXPECT_EQ(geometry->normals.size(), geometry->positions.size());
}

}  // namespace
}  // namespace nubo::io
