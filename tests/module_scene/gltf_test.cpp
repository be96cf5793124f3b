// What glTF files of known content become. The models are one square of 1 by 2 in the plane of the screen, or part of
// it.
#include <gtest/gtest.h>

#include <QFileInfo>

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
