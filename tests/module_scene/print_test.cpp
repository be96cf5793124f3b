// What a 3MF file of known content becomes: in centimetres, two of a wedge with legs of 1, 2 and 3, the second turned a
// quarter around z and moved by 10 along x, both 5 above the plate.
#include <gtest/gtest.h>

#include "module_scene/io/importer.h"

namespace nubo::io {
namespace {

using scene::Geometry;

TEST(Print, ObjectsLieWhereTheyAreBuiltAndAreShared) {
  const ImportResult result = importFile(QStringLiteral(NUBO_TEST_DATA "/models/print.3mf"));
  ASSERT_TRUE(result.root) << result.error.toStdString();
  const scene::SceneElement& pair = *result.root->getChildren().at(0);
  EXPECT_EQ(pair.getName(), "pair");
  const math::Vector3 min{0, 0, 0.05}, max{0.1, 0.02, 0.08};
  const scene::BoundingBox box = result.root->getBoundingBox();
  for (std::size_t axis = 0; axis < 3; ++axis) {
    EXPECT_NEAR(box.min[axis], min[axis], 1e-7) << axis;
    EXPECT_NEAR(box.max[axis], max[axis], 1e-7) << axis;
  }
  const auto& wedges = pair.getChildren();
  ASSERT_EQ(wedges.size(), 2u);
  EXPECT_EQ(wedges[0]->getName(), "wedge");
  EXPECT_EQ(wedges[0]->getGeometries(), wedges[1]->getGeometries());
}

TEST(Print, TrianglesHaveTheirMaterialsAndCornersTheirColours) {
  const ImportResult result = importFile(QStringLiteral(NUBO_TEST_DATA "/models/print.3mf"));
  ASSERT_TRUE(result.root) << result.error.toStdString();
  const auto& geometries = result.root->getChildren().at(0)->getChildren().at(0)->getGeometries();
  ASSERT_EQ(geometries.size(), 3u);
  EXPECT_EQ(geometries[0]->material->diffuse, (std::array<float, 4>{1, 0, 0, 1}));
  EXPECT_EQ(geometries[1]->material->diffuse, (std::array<float, 4>{0, 0, 1, 128 / 255.0f}));
  EXPECT_TRUE(geometries[1]->transparent);
  const Geometry& colored = *geometries[2];
  EXPECT_EQ(colored.primitiveCount(), 2u);
  int dark = 0;
  for (std::size_t v = 0; v < colored.vertexCount(); ++v) {
    const std::array<int, 4> color{colored.colors[v * 4], colored.colors[v * 4 + 1], colored.colors[v * 4 + 2],
                                   colored.colors[v * 4 + 3]};
    dark += color == std::array<int, 4>{0x20, 0x40, 0x60, 255} && colored.positions[v * 3 + 2] == 0.03f ? 1 : 0;
    EXPECT_TRUE(colored.positions[v * 3 + 2] > 0 || color == (std::array<int, 4>{0, 255, 0, 255}));
  }
  EXPECT_EQ(dark, 1);
}

/// A square of 1 m with a picture of four pixels: red and green above, blue and white below; behind it a pyramid's
/// sides with colours and a material.
TEST(Print, TrianglesHaveTheirPlacesInTextures) {
  const ImportResult result = importFile(QStringLiteral(NUBO_TEST_DATA "/models/textured.3mf"));
  ASSERT_TRUE(result.root) << result.error.toStdString();
  EXPECT_EQ(result.warnings, QStringList());
  const Geometry *textured = nullptr, *colored = nullptr, *plain = nullptr;
  for (const auto& geometry : result.root->getChildren().at(0)->getGeometries())
    (!geometry->texCoords.empty() ? textured : !geometry->colors.empty() ? colored : plain) = geometry.get();
  ASSERT_TRUE(textured && colored && plain);
  for (const Geometry* geometry : {textured, colored, plain}) EXPECT_EQ(geometry->primitiveCount(), 2u);
  EXPECT_EQ(plain->material->diffuse, (std::array<float, 4>{0xC0 / 255.0f, 0x80 / 255.0f, 0x20 / 255.0f, 1}));
  const scene::Texture& texture = *textured->material->texture;
  EXPECT_EQ(texture.getImage().pixelColor(0, 0), QColor(Qt::red));
  EXPECT_EQ(texture.getImage().pixelColor(1, 1), QColor(Qt::white));
  EXPECT_EQ(texture.getSampling(), (scene::Sampling{scene::Wrap::Clamp, scene::Wrap::Mirror, false}));
  for (std::size_t v = 0; v < textured->vertexCount(); ++v) {
    EXPECT_EQ(textured->texCoords[v * 2], textured->positions[v * 3]);
    EXPECT_EQ(textured->texCoords[v * 2 + 1], textured->positions[v * 3 + 2]);
  }
}

}  // namespace
}  // namespace nubo::io
