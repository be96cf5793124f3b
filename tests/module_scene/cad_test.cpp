// What CAD files of known content become: two blocks of 10 x 20 x 30 mm, red with one green face, of which the second
// is turned a quarter around z and moved by 100 mm along x, and a peg of radius 5 mm, 10 mm high, on the first.
#include <gtest/gtest.h>

#include <QFile>
#include <QTemporaryDir>
#include <cmath>

#include "module_scene/io/importer.h"
#include "module_scene/mesh/featureedges.h"

namespace nubo::io {
namespace {

using scene::Geometry;

QString model(const char* name) { return QStringLiteral(NUBO_TEST_DATA "/models/") + name; }

ImportResult read(const char* name, const char* fineness = "") {
  ImportControl control;
  if (*fineness) control.options["fineness"] = fineness;
  ImportResult result = importFile(model(name), control);
  EXPECT_TRUE(result.root) << result.error.toStdString();
  return result;
}

TEST(Cad, PartsLieWhereTheyBelongInMetres) {
  struct Row {
    const char* file;
    math::Vector3 min, max;
  };
  for (const Row& row :
       {Row{"assembly.step", {0, 0, 0}, {0.1, 0.02, 0.04}}, Row{"assembly.igs", {0, 0, 0}, {0.1, 0.02, 0.04}},
        Row{"peg.brep", {-0.005, -0.005, 0}, {0.005, 0.005, 0.01}}}) {
    SCOPED_TRACE(row.file);
    const ImportResult result = read(row.file);
    ASSERT_TRUE(result.root);
    const scene::BoundingBox box = result.root->getBoundingBox();
    for (std::size_t axis = 0; axis < 3; ++axis) {
      EXPECT_NEAR(box.min[axis], row.min[axis], 2e-5) << axis;
      EXPECT_NEAR(box.max[axis], row.max[axis], 2e-5) << axis;
    }
  }
}

TEST(Cad, AssembliesKeepNamesAndColoursAndShareTheirParts) {
  const ImportResult result = read("assembly.step");
  ASSERT_TRUE(result.root);
  const scene::SceneElement& assembly = *result.root->getChildren().at(0);
  EXPECT_EQ(assembly.getName(), "assembly");
  const auto& parts = assembly.getChildren();
  ASSERT_EQ(parts.size(), 3u);
  EXPECT_EQ(parts[0]->getName(), "block");
  EXPECT_EQ(parts[2]->getName(), "peg");
  EXPECT_EQ(parts[0]->getGeometries(), parts[1]->getGeometries());
  std::size_t edges = 0;
  ASSERT_EQ(parts[0]->getGeometries().size(), 2u);
  for (const auto& side : parts[0]->getGeometries()) {
    const bool isGreen = side->primitiveCount() == 2;
    EXPECT_EQ(side->primitiveCount(), isGreen ? 2u : 10u);
    EXPECT_EQ(side->material->diffuse, (std::array<float, 4>{isGreen ? 0.0f : 1.0f, isGreen ? 1.0f : 0.0f, 0, 1}));
    if (const auto lines = featureEdges(*side)) edges += lines->primitiveCount();
  }
  EXPECT_EQ(edges, 12u);
  const std::array<float, 4> color = parts[2]->getGeometries().at(0)->material->diffuse;
  for (const auto& [part, expected] : {std::pair(0u, 0.2f), {1u, 0.4f}, {2u, 0.6f}})
    EXPECT_NEAR(color[part], expected, 1e-3);
}

TEST(Cad, CurvedSurfacesHaveTheirOwnNormalsAndNoSeam) {
  const ImportResult result = read("peg.brep");
  ASSERT_TRUE(result.root);
  const Geometry& peg = *result.root->getChildren().at(0)->getGeometries().at(0);
  for (std::size_t v = 0; v < peg.vertexCount(); ++v) {
    const float *p = &peg.positions[v * 3], *n = &peg.normals[v * 3];
    if (std::abs(n[2]) > 0.5f) {
      EXPECT_NEAR(n[2], p[2] > 0.005f ? 1 : -1, 1e-6);
      continue;
    }
    EXPECT_NEAR(n[0], p[0] / 0.005, 1e-5);
    EXPECT_NEAR(n[1], p[1] / 0.005, 1e-5);
  }
  const auto lines = featureEdges(peg);
  ASSERT_TRUE(lines);
  for (std::size_t i = 0; i < lines->indices.size(); i += 2) {
    const float *a = &lines->positions[lines->indices[i] * 3], *b = &lines->positions[lines->indices[i + 1] * 3];
    EXPECT_EQ(a[2], b[2]);
    EXPECT_NEAR(std::hypot(a[0], a[1]), 0.005, 1e-7);
  }
}

TEST(Cad, FinenessSaysHowFarTrianglesMayLieOff) {
  const double all = 2 * std::acos(-1.0), radius = 5, size = std::sqrt(3) * 10;  // millimetres
  double before = 0;
  for (const auto& [fineness, factor] : {std::pair("0.3", 0.3), {"1", 1.0}, {"5", 5.0}}) {
    const ImportResult result = read("peg.brep", fineness);
    ASSERT_TRUE(result.root);
    const Geometry& peg = *result.root->getChildren().at(0)->getGeometries().at(0);
    const double steps = double(featureEdges(peg)->primitiveCount()) / 2;  // of two circles
    EXPECT_GE(steps, all / 0.3 * factor);
    EXPECT_LE(radius * (1 - std::cos(all / steps / 2)), size * 0.001 / factor);
    EXPECT_GT(steps, before * 1.5);
    before = steps;
  }
}

TEST(Cad, WhatIsNoneIsALine) {
  QFile whole(model("assembly.step"));
  ASSERT_TRUE(whole.open(QIODevice::ReadOnly));
  const QTemporaryDir folder;
  QFile cut(folder.filePath("cut.stp"));
  ASSERT_TRUE(cut.open(QIODevice::WriteOnly) && cut.write(whole.read(900)) == 900);
  cut.close();
  EXPECT_TRUE(importFile(cut.fileName()).error.contains("cannot read"));
}

}  // namespace
}  // namespace nubo::io
