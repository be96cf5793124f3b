// What becomes of a model's pictures, whose content is known, and which damage is noticed.
#include <gtest/gtest.h>

#include <QBuffer>
#include <QTemporaryDir>
#include <QtEndian>
#include <cstdlib>

#include "module_scene/io/importer.h"

namespace nubo::io {
namespace {

constexpr int Side = 40;

/// No two pixels alike, some of them transparent if it may be.
QImage content(QImage::Format format) {
  QImage image(Side, Side, format);
  for (int y = 0; y < Side; ++y)
    for (int x = 0; x < Side; ++x)
      image.setPixel(x, y, qRgba(x * y % 251, (7 * x + 242 * y) % 256, (x * x + 11 * y) % 256, y < 8 ? 255 : 6 * x));
  return image;
}

QByteArray chunk(const QByteArray& type, const QByteArray& data) {
  quint32 sum = ~0u;
  for (const char byte : type + data) {
    sum ^= uchar(byte);
    for (int bit = 0; bit < 8; ++bit) sum = sum & 1 ? sum >> 1 ^ 0xedb88320u : sum >> 1;
  }
  const auto word = [](quint32 value) {
    const quint32 bytes = qToBigEndian(value);
    return QByteArray(reinterpret_cast<const char*>(&bytes), 4);
  };
  return word(quint32(data.size())) + type + data + word(~sum);
}

int foretold(int filter, int left, int above, int corner) {
  if (filter < 4) return filter == 0 ? 0 : filter == 1 ? left : filter == 2 ? above : (left + above) / 2;
  const int plane = left + above - corner;
  const int toLeft = std::abs(plane - left), toAbove = std::abs(plane - above), toCorner = std::abs(plane - corner);
  return toLeft <= toAbove && toLeft <= toCorner ? left : toAbove <= toCorner ? above : corner;
}

/// A PNG file whose rows are filtered in turn in each of so many ways.
QByteArray png(const QImage& image, int filters = 5, const QByteArray& more = QByteArray()) {
  const int channels = image.depth() / 8;
  QByteArray rows;
  for (int y = 0; y < image.height(); ++y) {
    const auto at = [&](int i, int row) { return i < 0 || row < 0 ? 0 : int(image.constScanLine(row)[i]); };
    const int filter = y % filters;
    rows.append(char(filter));
    for (int i = 0; i < channels * image.width(); ++i)
      rows.append(char(at(i, y) - foretold(filter, at(i - channels, y), at(i, y - 1), at(i - channels, y - 1))));
  }
  const QByteArray deflated = qCompress(rows).mid(4);
  return "\x89PNG\r\n\x1a\n" +
         chunk("IHDR", QByteArray("\0\0\0\x28\0\0\0\x28\x8", 9) + (channels == 3 ? "\2" : "\6") + QByteArray(3, 0)) +
         more + chunk("IDAT", deflated.left(100)) + chunk("IDAT", deflated.mid(100)) + chunk("IEND", {});
}

QByteArray saved(const QImage& image, const char* format) {
  QBuffer buffer;
  image.save(&buffer, format);
  return buffer.data();
}

QByteArray with(QByteArray bytes, const char* before, const QByteArray& after) {
  bytes.replace(bytes.lastIndexOf(before) - after.size(), after.size(), after);
  return bytes;
}

TEST(Textures, PicturesOfAllKindsAreReadWhole) {
  const QImage colors = content(QImage::Format_RGB888), clear = content(QImage::Format_RGBA8888);
  const QImage few = colors.convertToFormat(QImage::Format_Indexed8);
  QImage keyed = colors.convertToFormat(QImage::Format_ARGB32);
  keyed.setPixel(0, 0, 0);
  struct Row {
    const char* name;
    QByteArray bytes;
    QImage pixels;  ///< null: it cannot be read
  };
  const Row rows[] = {{"colours", png(colors), colors},
                      {"alpha", png(clear), clear},
                      {"a palette", saved(few, "PNG"), few},
                      {"BMP", saved(colors, "BMP"), colors},
                      {"a colour that means transparent", png(colors, 5, chunk("tRNS", QByteArray(6, 0))), keyed},
                      {"a wrong sum", with(png(colors), "\0\0\0\0IEND", "sum!"), QImage()},
                      {"cut", png(colors).chopped(20), QImage()},
                      {"an unknown filter", png(colors, 6), QImage()},
                      {"too few rows", with(png(colors), "\x8\2", QByteArray("\0\0\0\x29", 4)), QImage()},
                      {"nothing", "\x89PNG", QImage()}};
  QByteArray images, textures, materials, primitives;
  for (const Row& row : rows) {
    const QByteArray number = QByteArray::number(int(&row - rows)), comma = &row == rows ? "" : ",";
    images += comma + R"({"uri":"data:image/png;base64,)" + row.bytes.toBase64() + "\"}";
    textures += comma + R"({"source":)" + number + "}";
    materials += comma + R"({"pbrMetallicRoughness":{"baseColorTexture":{"index":)" + number + "}}}";
    primitives += comma + R"({"attributes":{"POSITION":0},"material":)" + number + "}";
  }
  const float corners[] = {0, 0, 0, 1, 0, 0, 0, 1, 0};
  const QTemporaryDir folder;
  QFile file(folder.filePath("pictures.gltf"));
  ASSERT_TRUE(file.open(QIODevice::WriteOnly));
  file.write(R"({"asset":{"version":"2.0"},"scenes":[{"nodes":[0]}],"nodes":[{"mesh":0}],"buffers":[{"byteLength":36,
      "uri":"data:application/octet-stream;base64,)" +
             QByteArray(reinterpret_cast<const char*>(corners), 36).toBase64() + R"("}],"bufferViews":[{"buffer":0,
      "byteLength":36}],"accessors":[{"bufferView":0,"componentType":5126,"count":3,"type":"VEC3"}],"images":[)" +
             images + R"(],"textures":[)" + textures + R"(],"materials":[)" + materials +
             R"(],"meshes":[{"primitives":[)" + primitives + "]}]}");
  file.close();
  const ImportResult result = importFile(file.fileName());
  ASSERT_TRUE(result.root) << result.error.toStdString();
  const auto& geometries = (result.root->getChildren().at(0)->getChildren().at(0))->getGeometries();
  ASSERT_EQ(geometries.size(), std::size(rows));
  for (std::size_t i = 0; i < std::size(rows); ++i) {
    SCOPED_TRACE(rows[i].name);
    const auto& texture = geometries[i]->material->texture;
    const QString warned = QStringLiteral("the embedded texture '%1' cannot be read").arg(i + 1);
    EXPECT_EQ(result.warnings.filter(warned).size(), rows[i].pixels.isNull() ? 1 : 0);
    ASSERT_EQ(bool(texture), !rows[i].pixels.isNull());
    if (!texture) continue;
    EXPECT_EQ(texture->getImage().convertToFormat(QImage::Format_ARGB32),
              rows[i].pixels.convertToFormat(QImage::Format_ARGB32));
    EXPECT_EQ(texture->isTransparent(), rows[i].pixels.hasAlphaChannel());
  }
}

}  // namespace
}  // namespace nubo::io
