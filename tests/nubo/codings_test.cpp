// A wavy sheet of 2 by 2, as it is and as codings of glTF have it: all give one picture, but for what a coding rounds.
#include <draco/compression/encode.h>
#include <draco/mesh/mesh.h>
#include <meshoptimizer.h>

#include <cmath>
#include <cstring>

#include "nubo/programfixture.h"

namespace {

constexpr int Side = 40;
constexpr double Largest = 32767;

struct Sheet {
  std::vector<float> positions;  ///< in -1 to 1
  std::vector<std::uint32_t> indices;
};

Sheet wavySheet() {
  Sheet sheet;
  for (int j = 0; j <= Side; ++j)
    for (int i = 0; i <= Side; ++i) {
      const double x = 2.0 * i / Side - 1, y = 2.0 * j / Side - 1;
      sheet.positions.insert(sheet.positions.end(),
                             {float(x), float(y), float(0.2 * std::sin(4 * x) * std::cos(3 * y))});
    }
  for (std::uint32_t j = 0; j < Side; ++j)
    for (std::uint32_t i = 0; i < Side; ++i) {
      const std::uint32_t a = j * (Side + 1) + i, b = a + Side + 1;
      sheet.indices.insert(sheet.indices.end(), {a, a + 1, b, a + 1, b + 1, b});
    }
  return sheet;
}

template <class T>
QByteArray bytesOf(const std::vector<T>& values) {
  return {reinterpret_cast<const char*>(values.data()), int(values.size() * sizeof(T))};
}

/// A file around the bytes of two views. `more`: what stands behind all else.
QByteArray file(const Sheet& sheet, const QByteArray& first, const QByteArray& second, const QByteArray& views,
                const QByteArray& position, const QByteArray& more, const QByteArray& primitive = {}) {
  const QByteArray content = first + second;
  QByteArray text = R"({"asset":{"version":"2.0"},"scenes":[{"nodes":[0]}],"nodes":[{"mesh":0}],"materials":[{}],
    "buffers":[{"byteLength":%1,"uri":"data:application/octet-stream;base64,%2"}%3],
    "bufferViews":[%4],"accessors":[{%5"count":%6,"type":"VEC3","min":[-1,-1,-1],"max":[1,1,1]},
    {%7"componentType":5125,"count":%8,"type":"SCALAR"}],
    "meshes":[{"primitives":[{"attributes":{"POSITION":0},"indices":1,"material":0%9}]}])";
  const bool isDraco = !primitive.isEmpty(), isMeshopt = more.contains("meshopt");
  const std::vector<QByteArray> parts{QByteArray::number(content.size()),
                                      content.toBase64(),
                                      isMeshopt ? R"(,{"byteLength":100000})" : "",
                                      views,
                                      (isDraco ? "" : R"("bufferView":0,)") + position,
                                      QByteArray::number(qulonglong(sheet.positions.size() / 3)),
                                      isDraco ? "" : R"("bufferView":1,)",
                                      QByteArray::number(qulonglong(sheet.indices.size())),
                                      primitive};
  for (std::size_t i = parts.size(); i-- > 0;) text.replace("%" + QByteArray::number(int(i) + 1), parts[i]);
  return text + more + "}";
}

QByteArray view(int offset, int size, const QByteArray& more = {}) {
  return "{\"buffer\":0,\"byteOffset\":" + QByteArray::number(offset) + ",\"byteLength\":" + QByteArray::number(size) +
         more + "}";
}

constexpr const char *Floats = "\"componentType\":5126,", *Shorts = "\"componentType\":5122,\"normalized\":true,";

QByteArray used(const QByteArray& extension) {
  return R"(,"extensionsUsed":[")" + extension + R"("],"extensionsRequired":[")" + extension + "\"]";
}

QByteArray plain(const Sheet& sheet) {
  const QByteArray positions = bytesOf(sheet.positions), indices = bytesOf(sheet.indices);
  return file(sheet, positions, indices, view(0, positions.size()) + "," + view(positions.size(), indices.size()),
              Floats, {});
}

QByteArray quantised(const Sheet& sheet) {
  std::vector<std::int16_t> values;
  for (std::size_t i = 0; i < sheet.positions.size(); ++i) {
    values.push_back(std::int16_t(std::lround(double(sheet.positions[i]) * Largest)));
    if (i % 3 == 2) values.push_back(0);
  }
  const QByteArray positions = bytesOf(values), indices = bytesOf(sheet.indices);
  return file(sheet, positions, indices,
              view(0, positions.size(), ",\"byteStride\":8") + "," + view(positions.size(), indices.size()), Shorts,
              used("KHR_mesh_quantization"));
}

QByteArray packedByMeshopt(const Sheet& sheet) {
  const std::size_t vertices = sheet.positions.size() / 3, count = sheet.indices.size();
  std::vector<unsigned char> first(meshopt_encodeVertexBufferBound(vertices, 12));
  first.resize(meshopt_encodeVertexBuffer(first.data(), first.size(), sheet.positions.data(), vertices, 12));
  std::vector<unsigned char> second(meshopt_encodeIndexBufferBound(count, vertices));
  second.resize(meshopt_encodeIndexBuffer(second.data(), second.size(), sheet.indices.data(), count));
  const auto packed = [](std::size_t size, std::size_t offset, std::size_t packedSize, std::size_t stride,
                         std::size_t values, const char* mode) {
    const auto number = [](std::size_t value) { return QByteArray::number(qulonglong(value)); };
    return R"({"buffer":1,"byteLength":)" + number(size) + R"(,"extensions":{"EXT_meshopt_compression":{"buffer":0,
      "byteOffset":)" +
           number(offset) + R"(,"byteLength":)" + number(packedSize) + R"(,"byteStride":)" + number(stride) +
           R"(,"count":)" + number(values) + R"(,"mode":")" + mode + R"("}}})";
  };
  const QByteArray views = packed(vertices * 12, 0, first.size(), 12, vertices, "ATTRIBUTES") + "," +
                           packed(count * 4, first.size(), second.size(), 4, count, "TRIANGLES");
  return file(sheet, bytesOf(first), bytesOf(second), views, Floats, used("EXT_meshopt_compression"));
}

QByteArray packedByDraco(const Sheet& sheet) {
  draco::Mesh mesh;
  mesh.set_num_points(std::uint32_t(sheet.positions.size() / 3));
  draco::GeometryAttribute positions;
  positions.Init(draco::GeometryAttribute::POSITION, nullptr, 3, draco::DT_FLOAT32, false, 12, 0);
  const int number = mesh.AddAttribute(positions, true, mesh.num_points());
  for (std::uint32_t v = 0; v < mesh.num_points(); ++v)
    mesh.attribute(number)->SetAttributeValue(draco::AttributeValueIndex(v), &sheet.positions[std::size_t(v) * 3]);
  for (std::size_t i = 0; i < sheet.indices.size(); i += 3)
    mesh.AddFace({draco::PointIndex(sheet.indices[i]), draco::PointIndex(sheet.indices[i + 1]),
                  draco::PointIndex(sheet.indices[i + 2])});
  draco::Encoder encoder;
  encoder.SetAttributeQuantization(draco::GeometryAttribute::POSITION, 16);
  draco::EncoderBuffer buffer;
  EXPECT_TRUE(encoder.EncodeMeshToBuffer(mesh, &buffer).ok());
  const QByteArray packed(buffer.data(), int(buffer.size()));
  return file(sheet, packed, {}, view(0, packed.size()), Floats, used("KHR_draco_mesh_compression"),
              R"(,"extensions":{"KHR_draco_mesh_compression":{"bufferView":0,"attributes":{"POSITION":)" +
                  QByteArray::number(mesh.attribute(number)->unique_id()) + "}}}");
}

TEST_F(Program, CodingsGiveThePictureOfThePlainModel) {
  const Sheet sheet = wavySheet();
  const auto picture = [&](const QByteArray& name, const QByteArray& content) {
    write(name + ".gltf", content);
    EXPECT_EQ(
        run("$nubo --view oblique --size 300x300 " + name + ".gltf grabimage --filename " + name + ".png --width 300"),
        0)
        << name.toStdString() << m_Errors.toStdString();
    return QImage(path(name + ".png")).convertToFormat(QImage::Format_RGBA8888);
  };
  const QImage expected = picture("plain", plain(sheet));
  ASSERT_EQ(expected.size(), QSize(300, 300));
  for (const auto& [name, content] : {std::pair<QByteArray, QByteArray>("quantised", quantised(sheet)),
                                      {"meshopt", packedByMeshopt(sheet)},
                                      {"draco", packedByDraco(sheet)}}) {
    const QImage actual = picture(name, content);
    ASSERT_EQ(actual.size(), expected.size());
    int different = 0, covered = 0;
    for (int y = 0; y < 300; ++y)
      for (int x = 0; x < 300; ++x) {
        const QColor a = actual.pixelColor(x, y), e = expected.pixelColor(x, y);
        covered += e.alpha() > 0;
        different += std::max({std::abs(a.red() - e.red()), std::abs(a.green() - e.green()),
                               std::abs(a.blue() - e.blue()), std::abs(a.alpha() - e.alpha())}) > 2;
      }
    EXPECT_GT(covered, 10000);
    // meshopt rounds nothing; the others move vertices by less than a hundredth of a pixel, which decides at borders.
    EXPECT_LE(different, name == "meshopt" ? 0 : covered / 1000) << name.toStdString();
  }
}

}  // namespace
