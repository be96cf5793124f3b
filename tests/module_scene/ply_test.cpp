// What is special about reading PLY.
#include <gtest/gtest.h>

#include <QFile>
#include <QTemporaryDir>
#include <algorithm>

#include "module_scene/io/importer.h"

namespace nubo::io {
namespace {

// Long rows of triangles are read in a quicker way than other faces. The sums of the corners' numbers tell which are
// there; each vertex lies at its number.
TEST(Ply, FacesAreTheirsWhateverStandsBetweenThem) {
  constexpr std::uint32_t Faces = 3 << 16, Vertices = 4000, None = Faces;
  struct Row {
    std::uint32_t quad, broken;  ///< the face that is one, or has a vertex that is not there
    bool swapped;
  };
  const QTemporaryDir folder;
  for (const Row& row : {Row{None, None, false},
                         {None, None, true},
                         {(1 << 16) + 9, None, false},
                         {5, None, true},
                         {None, Faces - 1, false},
                         {9, 10, false}}) {
    QByteArray bytes("ply\nformat binary_" + QByteArray(row.swapped ? "big" : "little") +
                     "_endian 1.0\nelement vertex 4000\nproperty float x\nproperty float y\nproperty float z\n"
                     "element face 196608\nproperty list uchar int vertex_indices\nend_header\n");
    const auto add = [&](auto value) {
      QByteArray word(reinterpret_cast<const char*>(&value), sizeof value);
      if (row.swapped) std::reverse(word.begin(), word.end());
      bytes += word;
    };
    for (std::uint32_t v = 0; v < Vertices; ++v)
      for (const float value : {float(v), float(v % 7), float(v % 11)}) add(value);
    double sum = 0;
    for (std::uint32_t f = 0; f < Faces; ++f) {
      const std::uint32_t first = f % (Vertices - 5);
      const auto corners = row.quad == f ? std::vector<std::uint32_t>{first, first + 1, first + 2, first + 5}
                                         : std::vector<std::uint32_t>{first, first + 2, first + 3};
      bytes += char(corners.size());
      for (const std::uint32_t corner : corners) add(row.broken == f ? Vertices : corner);
      sum += row.quad == f ? 6.0 * first + 1 + 2 + 2 + 5 : 3.0 * first + 5;
    }
    QFile file(folder.filePath("faces.ply"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size());
    file.close();
    const ImportResult result = importFile(file.fileName());
    ASSERT_EQ(bool(result.root), row.broken == None) << result.error.toStdString();
    if (!result.root) continue;
    const scene::Geometry& geometry = *result.root->getGeometries().front();
    for (const std::uint32_t corner : geometry.indices) sum -= double(geometry.positions[std::size_t(corner) * 3]);
    EXPECT_EQ(geometry.primitiveCount(), Faces + (row.quad == None ? 0 : 1));
    EXPECT_EQ(sum, 0);
  }
}

}  // namespace
}  // namespace nubo::io
