// What scanners write becomes points: the same five of a formula in all spellings and codings.
#include <gtest/gtest.h>

#include <QFile>
#include <QTemporaryDir>
#include <cmath>

#include "module_scene/io/importer.h"

namespace nubo::io {
namespace {

constexpr int Count = 5;
enum Shown { Colors, Grey, Nothing };

/// Point i of `east`: (east + i, 2 i, i / 4), coloured (50 i, 255 - 50 i, 10), with intensity 50 i.
struct Row {
  const char *what, *suffix, *heading;
  /// Of each line: %1 to %3 is the place, %4 to %6 the colour, %7 to %9 that in 0 to 1, %0 that in one number.
  const char* line;
  Shown shown = Colors;
  double east = 0;
};

quint32 packedColor(int i) { return quint32(50 * i) << 16 | quint32(255 - 50 * i) << 8 | 10; }

QByteArray textOf(const Row& row) {
  QByteArray text = row.heading;
  for (int i = 0; i < Count; ++i) {
    const double values[]{double(packedColor(i)), row.east + i,       2.0 * i,   i / 4.0, 50.0 * i, 255 - 50.0 * i, 10,
                          50 * i / 255.0,         1 - 50 * i / 255.0, 10 / 255.0};
    QByteArray line = row.line;
    for (int v = 0; v < 10; ++v) line.replace("%" + QByteArray::number(v), QByteArray::number(values[v], 'g', 12));
    text += line + '\n';
  }
  return text;
}

class Points : public testing::Test {
 protected:
  ImportResult read(const QString& suffix, const QByteArray& content) {
    QFile file(m_Folder.filePath("cloud." + suffix));
    EXPECT_TRUE(file.open(QIODevice::WriteOnly) && file.write(content) == content.size());
    file.close();
    return importFile(file.fileName());
  }
  static void expectFormula(const ImportResult& result, Shown shown, double east) {
    ASSERT_TRUE(result.root) << result.error.toStdString();
    ASSERT_EQ(result.root->getChildren().size(), 1u);
    const scene::SceneElement& cloud = *result.root->getChildren()[0];
    const scene::Geometry& points = *cloud.getGeometries()[0];
    ASSERT_EQ(points.vertexCount(), std::size_t(Count));
    ASSERT_EQ(points.colors.size(), shown == Nothing ? 0u : Count * 4u);
    for (std::size_t v = 0; v < Count; ++v) {
      const float* local = &points.positions[v * 3];
      const math::Vector3 p = math::transformPoint(cloud.getTransform(), {local[0], local[1], local[2]});
      const double i = std::round(p[0] - east);
      EXPECT_NEAR(p[0], east + i, 1e-9);
      EXPECT_NEAR(p[1], 2 * i, 1e-9);
      EXPECT_NEAR(p[2], i / 4, 1e-9);
      if (shown == Nothing) continue;
      EXPECT_EQ(points.colors[v * 4], 50 * i);
      EXPECT_EQ(points.colors[v * 4 + 1], shown == Grey ? 50 * i : 255 - 50 * i);
      EXPECT_EQ(points.colors[v * 4 + 2], shown == Grey ? 50 * i : 10);
      EXPECT_EQ(points.colors[v * 4 + 3], 255);
    }
  }

  const QTemporaryDir m_Folder;
};

TEST_F(Points, AllSpellingsOfAListAreTheSamePoints) {
  for (const Row& row : std::initializer_list<Row>{
           {"bare", "xyz", "", "%1 %2 %3", Nothing},
           {"tabs and a sign", "asc", "", "\t+%1\t%2\t%3", Nothing},
           {"bytes, far away", "xyz", "", "%1 %2 %3 %4 %5 %6", Colors, 5648349.25},
           {"shares", "txt", "# made by hand\n\n", "%1 %2 %3 %7 %8 %9"},
           {"normals", "xyz", "", "%1 %2 %3 0.6 0 -0.8 %4 %5 %6"},
           {"count and intensity", "pts", "5\r\n", "%1 %2 %3 7 %4 %5 %6\r"},
           {"intensity", "pts", "5\n", "%1 %2 %3 %4", Grey},
           {"more in the end", "csv", "", "%1,%2,%3,%4,%5,%6,77"},
           {"heading", "csv", "Red,\"Y\",Z,time,X,green,Blue\n", "%4,%2,%3,,%1,%5,%6"},
           {"heading that is a comment", "csv", "//X Y Z B G R\n", "%1 %2 %3 %6 %5 %4"},
           {"semicolons", "csv", "x;y;z;intensity\n", "%1; %2;%3;%7", Grey},
           {"text of a PCD", "pcd",
            "# .PCD v0.7\nVERSION 0.7\nFIELDS z y x h rgb\nSIZE 4 4 8 4 4\nTYPE F F F F U\nCOUNT 1 1 1 2 1\n"
            "WIDTH 5\nHEIGHT 1\nPOINTS 5\nDATA ascii\n",
            "%3 %2 %1 7 7 %0"}}) {
    SCOPED_TRACE(row.what);
    QByteArray text = textOf(row);
    if (row.what == QByteArray("semicolons")) text.replace('.', ',');
    const ImportResult result = read(row.suffix, text);
    expectFormula(result, row.shown, row.east);
    EXPECT_EQ(result.warnings, QStringList());
    if (row.what != QByteArray("normals") || !result.root) continue;
    const std::vector<float>& normals = result.root->getChildren()[0]->getGeometries()[0]->normals;
    EXPECT_TRUE(normals.size() == Count * 3u && normals[0] == 0.6f && normals[2] == -0.8f);
  }
}

/// Literal runs, and for zeros a copy of the byte before, so that both kinds of step occur.
QByteArray packed(const QByteArray& bytes) {
  QByteArray result;
  for (int i = 0; i < bytes.size(); ++i) {
    if (i > 0 && i + 2 < bytes.size() && bytes.mid(i - 1, 4) == QByteArray(4, '\0')) {
      result += QByteArray("\x20\0", 2);  // three bytes from one before
      i += 2;
    } else {
      result += '\0';  // one byte follows
      result += bytes[i];
    }
  }
  return result;
}

template <class T>
void put(QByteArray& bytes, T value) {
  bytes.append(reinterpret_cast<const char*>(&value), sizeof value);
}

TEST_F(Points, BinaryCodingsOfPcdAreTheSamePoints) {
  constexpr double East = 2000.5;
  const QByteArray header =
      "# .PCD v0.7\nVERSION 0.7\nFIELDS x y z flags rgba\nSIZE 8 4 4 2 4\nTYPE F F F I F\nCOUNT 1 1 1 3 1\n"
      "WIDTH 5\nHEIGHT 1\nVIEWPOINT 0 0 0 1 0 0 0\nPOINTS 5\nDATA ";
  QByteArray points, fields[5];
  for (int i = 0; i < Count; ++i) {
    QByteArray parts[5];
    put(parts[0], East + i), put(parts[1], 2.0f * float(i)), put(parts[2], float(i) / 4), parts[3].fill('\0', 6);
    put(parts[4], packedColor(i));
    for (int f = 0; f < 5; ++f) points += parts[f], fields[f] += parts[f];
  }
  expectFormula(read("pcd", header + "binary\n" + points), Colors, East);
  const QByteArray sorted = fields[0] + fields[1] + fields[2] + fields[3] + fields[4], small = packed(sorted);
  QByteArray sizes;
  put(sizes, quint32(small.size())), put(sizes, quint32(sorted.size()));
  expectFormula(read("pcd", header + "binary_compressed\n" + sizes + small), Colors, East);

  points.replace(0, 8, QByteArray(8, '\xFF'));  // no number
  const ImportResult incomplete = read("pcd", header + "binary\n" + points);
  ASSERT_TRUE(incomplete.root);
  EXPECT_EQ(incomplete.warnings, QStringList("1 points have no place, and are left out"));
  for (const auto& [content, cause] :
       {std::pair(header + "binary\n" + points.left(100), "the file is truncated: it announces 5 points"),
        {header + "binary_compressed\n" + sizes + small.left(small.size() - 1), "fewer bytes"},
        {header + "unheard\n" + points, "not understood"}})
    EXPECT_TRUE(read("pcd", content).error.contains(cause)) << read("pcd", content).error.toStdString();
}

TEST_F(Points, ManyAreReadInPiecesAndWhatIsNoListIsALine) {
  constexpr int Many = 600000;  // some pieces
  QByteArray text;
  for (int i = 0; i < Many; ++i) text += QByteArray::number(i) + " 1 0\n" + (i % 100000 == 0 ? "nan 1 0\nlost\n" : "");
  const ImportResult result = read("xyz", text);
  ASSERT_TRUE(result.root) << result.error.toStdString();
  EXPECT_EQ(result.root->getChildren()[0]->getGeometries()[0]->vertexCount(), std::size_t(Many));
  EXPECT_EQ(result.root->getBoundingBox().max[0], Many - 1);
  EXPECT_EQ(result.warnings,
            QStringList({"6 points have no place, and are left out", "6 lines hold no point, and are left out"}));
  for (const auto& [content, cause] : {std::pair("3\n1 2 3\n4 5 6\n", "it announces 3 points, but has 2"),
                                       {"Dear reader,\nthis is text with 3 4 5\n", "it is no list of points"}})
    EXPECT_TRUE(read("pts", content).error.contains(cause)) << read("pts", content).error.toStdString();
}

}  // namespace
}  // namespace nubo::io
