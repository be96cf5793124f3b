// What 3DS files of known content become.
#include <gtest/gtest.h>

#include <QFile>
#include <QTemporaryDir>

#include "module_scene/io/importer.h"

namespace nubo::io {
namespace {

/// A cube as a 3DS file, whose faces are all in one smoothing group or in none.
QByteArray cubeOf3ds(bool round) {
  const auto number = [](quint32 value, int size) {
    QByteArray bytes;
    for (int i = 0; i < size; ++i) bytes += char(value >> (8 * i));
    return bytes;
  };
  const auto chunk = [&](quint32 kind, const QByteArray& content) {
    return number(kind, 2) + number(quint32(content.size()) + 6, 4) + content;
  };
  QByteArray vertices = number(8, 2), faces = number(12, 2), groups;
  for (int i = 0; i < 24; ++i) vertices += number(i / 3 >> i % 3 & 1 ? 0x3F800000 : 0, 4);
  for (const quint64 face : {0x032, 0x013, 0x467, 0x475, 0x045, 0x051, 0x263, 0x367, 0x064, 0x026, 0x157, 0x173})
    faces += number(face >> 8, 2) + number(face >> 4 & 15, 2) + number(face & 15, 2) + number(0, 2),
        groups += number(1, 4);
  if (round) faces += chunk(0x4150, groups);
  return chunk(0x4D4D, chunk(0x3D3D, chunk(0x4000, QByteArray("cube", 5) +
                                                       chunk(0x4100, chunk(0x4110, vertices) + chunk(0x4120, faces)))));
}

TEST(ThreeDs, FacesAreRoundOnlyWhereTheFileSaysSo) {
  const QTemporaryDir folder;
  for (const bool round : {false, true}) {
    QFile file(folder.filePath("cube.3ds"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly) && file.write(cubeOf3ds(round)) > 0);
    file.close();
    const ImportResult result = importFile(file.fileName());
    ASSERT_TRUE(result.root) << result.error.toStdString();
    std::size_t vertices = 0;
    std::vector<util::YPointer<scene::SceneElement>> elements{result.root};
    for (std::size_t i = 0; i < elements.size(); ++i) {
      for (const auto& geometry : elements[i]->getGeometries()) vertices += geometry->vertexCount();
      for (const auto& child : std::vector(elements[i]->getChildren())) elements.push_back(child);
    }
    EXPECT_EQ(vertices, round ? 8u : 24u);
  }
}

}  // namespace
}  // namespace nubo::io
