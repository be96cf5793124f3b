// What prepare() joins, smooths, sorts and knows about a mesh.
#include "module_scene/mesh/meshbuilder.h"
#include "module_scene/mesh/parallel.h"
#include "module_scene/mesh/preparation.h"
#include "module_scene/mesh/surface.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <limits>
#include <map>
#include <random>
#include <set>

namespace nubo::scene {
namespace {

using Mesh = util::YPointer<Geometry>;

/// Vertices of their own for each triangle, as a file of loose triangles has them.
Mesh soup(const std::vector<math::Vector3>& points, const std::vector<std::array<int, 3>>& faces) {
  Mesh mesh(new Geometry);
  for (const auto& face : faces)
    for (const int corner : face) {
      for (const double value : points[corner]) mesh->positions.push_back(float(value));
      mesh->indices.push_back(std::uint32_t(mesh->indices.size()));
    }
  return mesh;
}

const std::vector<math::Vector3> CubePoints{{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0},
                                            {0, 0, 1}, {1, 0, 1}, {1, 1, 1}, {0, 1, 1}};
const std::vector<std::array<int, 3>> CubeFaces{{0, 2, 1}, {0, 3, 2}, {4, 5, 6}, {4, 6, 7}, {0, 1, 5}, {0, 5, 4},
                                                {1, 2, 6}, {1, 6, 5}, {2, 3, 7}, {2, 7, 6}, {3, 0, 4}, {3, 4, 7}};

using Faces = std::vector<std::array<int, 3>>;

math::Vector3 vertex(const std::vector<float>& values, std::uint32_t index) {
  const float* at = &values[std::size_t(index) * 3];
  return {at[0], at[1], at[2]};
}

/// Of the face whose corners begin there in the index list; its length is twice the area.
math::Vector3 faceNormal(const Geometry& mesh, std::size_t i) {
  std::array<math::Vector3, 3> p;
  for (int k = 0; k < 3; ++k) p[k] = vertex(mesh.positions, mesh.indices[i + k]);
  return cross(difference(p[1], p[0]), difference(p[2], p[0]));
}

Mesh sphere(int rings) {
  const Mesh built = MeshBuilder(nullptr).sphere({0, 0, 0}, 1, 2 * rings, rings).finish(), mesh(new Geometry);
  for (const std::uint32_t index : built->indices) {
    const float* at = &built->positions[std::size_t(index) * 3];
    mesh->positions.insert(mesh->positions.end(), at, at + 3);
    mesh->indices.push_back(std::uint32_t(mesh->indices.size()));
  }
  return mesh;
}

TEST(Parallel, EachCallIsMadeOnceHoweverDeepTheyAreNestedAndFailuresArrive) {
  std::vector<std::atomic<int>> calls(std::size_t(7) * 5000);
  runOnCores(7, [&](std::size_t outer) { runOnCores(5000, [&](std::size_t i) { ++calls[outer * 5000 + i]; }); });
  EXPECT_TRUE(std::all_of(calls.begin(), calls.end(), [](const auto& count) { return count == 1; }));
  EXPECT_THROW(runOnCores(100,
                          [](std::size_t i) {
                            if (i == 50) throw std::bad_alloc();
                          }),
               std::bad_alloc);
}

TEST(Geometry, JoinsASoupAndKeepsTheCreasesOfACube) {
  const Mesh cube = soup(CubePoints, CubeFaces);
  const auto shadeOf = [](float place) { return std::uint8_t(place > 0 ? 255 : 0); };
  for (std::size_t i = 0; i < cube->positions.size(); ++i) {
    cube->colors.push_back(shadeOf(cube->positions[i]));
    if (i % 3 == 2) cube->colors.push_back(255);
  }
  cube->positions[0] = -0.0f;  // the same place as 0
  prepare(*cube);
  EXPECT_EQ(cube->indices.size(), 36u);
  EXPECT_EQ(cube->vertexCount(), 24u);  // three normals at each of 8 corners
  ASSERT_EQ(cube->colors.size(), 96u);
  for (std::size_t i = 0; i < 72; ++i) EXPECT_EQ(cube->colors[i / 3 * 4 + i % 3], shadeOf(cube->positions[i]));
  for (std::size_t i = 0; i < 36; i += 3)
    for (int k = 0; k < 3; ++k) EXPECT_EQ(vertex(cube->normals, cube->indices[i + k]), faceNormal(*cube, i));
}

TEST(Geometry, SmoothNormalsOfASphereLookOutwards) {
  const Mesh mesh = sphere(16);  // of one cluster
  prepare(*mesh);
  EXPECT_EQ(mesh->vertexCount(), 15u * 32 + 2);
  for (std::uint32_t i = 0; i < mesh->vertexCount(); ++i)
    for (int k = 0; k < 3; ++k)  // exact in theory where all neighbours lie on the sphere; 32-bit coordinates
      ASSERT_NEAR(vertex(mesh->normals, i)[k], vertex(mesh->positions, i)[k], 1e-4);
}

TEST(Geometry, KnowsWhichMeshesAreClosed) {
  const auto plus = [](Faces faces, const Faces& more) {
    faces.insert(faces.end(), more.begin(), more.end());
    return faces;
  };
  const auto turned = [](Faces faces, std::size_t first, std::size_t last, int offset = 0) {
    for (; first < last; ++first) std::swap(faces[first][0], faces[first][1]);
    for (auto& face : faces)
      for (int& corner : face) corner += offset;
    return faces;
  };
  auto twice = CubePoints;
  for (const auto& p : CubePoints) twice.push_back({p[0] * 0.5 + 3, p[1] * 0.5, p[2] * 0.5});
  auto touching = CubePoints;
  for (const auto& p : CubePoints) touching.push_back({p[0] + 1, p[1] + 1, p[2]});
  const Mesh creased = soup(CubePoints, CubeFaces), glass = soup(CubePoints, CubeFaces);
  prepare(*creased);  // gives the sides normals of their own
  creased->clusters.clear();
  glass->material = new Material;
  glass->material->diffuse[3] = 0.5f;
  struct Row {
    const char* name;
    bool closed;
    Mesh mesh;
  };
  for (const Row& row :
       {Row{"cube", true, soup(CubePoints, CubeFaces)}, Row{"sphere", true, sphere(20)},
        Row{"with a face without area", true, soup(CubePoints, plus(CubeFaces, {{0, 1, 1}}))},
        Row{"cut along seams of normals only", true, creased}, Row{"seen through", false, glass},
        Row{"open", false, soup(CubePoints, Faces(CubeFaces.begin(), CubeFaces.end() - 1))},
        Row{"with a face twice", false, soup(CubePoints, plus(CubeFaces, {CubeFaces[0]}))},
        Row{"with one face turned", false, soup(CubePoints, turned(CubeFaces, 4, 5))},
        Row{"inside out", false, soup(CubePoints, turned(CubeFaces, 0, 12))},
        Row{"cubes with an edge in common", false, soup(touching, plus(CubeFaces, turned(CubeFaces, 0, 0, 8)))},
        Row{"a cube and another that is inside out", false,
            soup(twice, plus(CubeFaces, turned(CubeFaces, 0, 12, 8)))}}) {
    prepare(*row.mesh);
    EXPECT_EQ(row.mesh->closed, row.closed) << row.name;
  }
}

/// Another mesh's faces, as large as `size`, about a point of the z axis; the inside out where it is negative.
void add(Mesh& mesh, const Geometry& faces, float size, float z) {
  for (std::size_t i = 0; i < faces.positions.size(); i += 3) {
    const float* at = &faces.positions[size < 0 ? i / 9 * 9 + (9 - i % 9 - 3) : i];
    const float by = std::abs(size);
    mesh->positions.insert(mesh->positions.end(), {by * at[0], by * at[1], by * at[2] + z});
    mesh->indices.push_back(std::uint32_t(mesh->indices.size()));
  }
}

// Whose edges mostly lie within a cluster, and some between two; on several threads.
TEST(Geometry, KnowsWhichLargeMeshesAreClosed) {
  std::size_t kept = 0;
  const auto closed = [&](const Mesh& mesh) {
    prepare(*mesh);
    kept = mesh->primitiveCount();
    return mesh->closed;
  };
  const Mesh ball = sphere(72), fine = sphere(80), coarse = sphere(20);
  ASSERT_GT(ball->primitiveCount(), 2 * WorthAThread);
  const auto balls = [&](std::initializer_list<std::tuple<const Geometry*, float, float>> parts) {
    Mesh mesh(new Geometry);
    for (const auto& [faces, size, z] : parts) add(mesh, *faces, size, z);
    return closed(mesh);
  };
  EXPECT_TRUE(balls({{ball.get(), 1, 0}}));
  EXPECT_FALSE(balls({{ball.get(), -1, 0}}));
  EXPECT_TRUE(balls({{ball.get(), 1, 1e4f}, {fine.get(), 2, -1e4f}}));
  EXPECT_FALSE(balls({{ball.get(), 1, 0}, {fine.get(), -1, 4}}));
  // One part, that touches itself in a point and encloses what is left of the larger ball, in which threads take turns.
  EXPECT_TRUE(balls({{coarse.get(), -0.9375f, -0.9375f}, {fine.get(), 1, 1}}));
  EXPECT_FALSE(balls({{coarse.get(), 0.9375f, -0.9375f}, {fine.get(), -1, 1}}));

  for (std::size_t face = 0; face < ball->primitiveCount(); face += 997) {
    SCOPED_TRACE(face);
    const auto changed = [&](const auto& change) {
      Mesh mesh(new Geometry);
      add(mesh, *ball, 1, 0);
      change(*mesh, &mesh->indices[face * 3]);
      return closed(mesh);
    };
    EXPECT_FALSE(changed([](Geometry&, std::uint32_t* corners) { corners[1] = corners[0]; })) << "a hole";
    EXPECT_EQ(kept, ball->primitiveCount() - 1);
    EXPECT_FALSE(changed([](Geometry&, std::uint32_t* corners) { std::swap(corners[1], corners[0]); })) << "turned";
    EXPECT_FALSE(changed([](Geometry& mesh, const std::uint32_t* corners) {
      const std::uint32_t a = corners[0], b = corners[1], far = std::uint32_t(mesh.vertexCount());
      mesh.positions.insert(mesh.positions.end(), {0, 0, 1000});
      mesh.indices.insert(mesh.indices.end(), {a, b, far, b, a, far});
    })) << "a fin that has both its sides";
  }
}

TEST(Geometry, ClustersHoldEachFaceOnceWithinTheirBoxesAndCones) {
  const Mesh mesh = sphere(150);
  std::mt19937 random(1);
  auto* triangles = reinterpret_cast<std::array<std::uint32_t, 3>*>(mesh->indices.data());
  std::shuffle(triangles, triangles + mesh->primitiveCount(), random);  // files come in any order
  std::map<std::array<math::Vector3, 3>, int> faces;
  const auto face = [&](std::size_t i) {
    std::array<math::Vector3, 3> corners;
    for (int k = 0; k < 3; ++k) corners[k] = vertex(mesh->positions, mesh->indices[i + k]);
    return corners;
  };
  for (std::size_t i = 0; i < mesh->indices.size(); i += 3) ++faces[face(i)];
  prepare(*mesh);
  ASSERT_TRUE(mesh->closed);

  std::uint32_t first = 0, firstVertex = 0;
  double surfaces = 0;
  for (const Cluster& cluster : mesh->clusters) {
    EXPECT_EQ(cluster.first, first);
    EXPECT_EQ(cluster.firstVertex, firstVertex);
    first += cluster.count;
    firstVertex += cluster.vertexCount;
    const std::set<std::uint32_t> vertices(mesh->indices.begin() + cluster.first, mesh->indices.begin() + first);
    EXPECT_EQ(vertices.size(), cluster.vertexCount) << "each is used";
    EXPECT_EQ(*vertices.rbegin(), firstVertex - 1);
    EXPECT_LE(cluster.count, 3 * 1024u);
    for (int k = 0; k < 3; ++k) {
      const int l = (k + 1) % 3;
      surfaces += 2.0 * (cluster.max[k] - cluster.min[k]) * (cluster.max[l] - cluster.min[l]);
    }
    const math::Vector3 axis{cluster.cone[0], cluster.cone[1], cluster.cone[2]};
    for (std::uint32_t i = cluster.first; i < first; i += 3) {
      --faces[face(i)];
      ASSERT_GE(dot(normalized(faceNormal(*mesh, i)), axis), double(cluster.cone[3]));
      for (const math::Vector3& corner : face(i))
        for (int k = 0; k < 3; ++k) ASSERT_TRUE(corner[k] >= cluster.min[k] && corner[k] <= cluster.max[k]);
    }
    EXPECT_GT(cluster.cone[3], 0.5f) << "a small piece of a sphere looks one way";
  }
  EXPECT_EQ(first, mesh->indices.size());
  EXPECT_EQ(firstVertex, mesh->vertexCount());
  EXPECT_LT(firstVertex, (149u * 300 + 2) * 5 / 4) << "few are there twice";
  for (const auto& [corners, count] : faces) ASSERT_EQ(count, 0);
  EXPECT_LT(mesh->clusters.size(), 3 * mesh->indices.size() / 3 / 1024);
  EXPECT_LT(surfaces, 6 * 4 * M_PI) << "no more than the boxes of square tiles in the worst orientation";
}

TEST(Geometry, LeavesOutWhatCannotBeDrawnAndKeepsTheRest) {
  const float nan = std::numeric_limits<float>::quiet_NaN(), infinite = std::numeric_limits<float>::infinity();
  Mesh mesh(new Geometry);
  mesh->positions = {0, 0, 0, 1, 0, 0, 0, 1, 0, nan, 0, 0, 0, 0, infinite};
  mesh->normals = {0, 0, 1, nan, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 1};
  mesh->indices = {0, 1, 2, 0, 1, 3, 0, 4, 2, 0, 0, 1};
  prepare(*mesh);
  EXPECT_EQ(mesh->indices.size(), 3u);
  EXPECT_EQ(mesh->vertexCount(), 3u);
  EXPECT_EQ(mesh->box.max, (math::Vector3{1, 1, 0}));
  EXPECT_EQ(mesh->normals, (std::vector<float>{0, 0, 1, 0, 0, 1, 0, 0, 1}));

  Mesh nothing(new Geometry);
  nothing->positions = {nan, nan, nan};
  nothing->indices = {0, 0, 0};
  prepare(*nothing);
  EXPECT_TRUE(nothing->indices.empty() && nothing->clusters.empty() && nothing->box.isEmpty());
  EXPECT_FALSE(nothing->closed);

  Mesh bothWays(new Geometry);
  bothWays->positions = {0, 0, 0, 1, 0, 0, 0, 1, 0};
  bothWays->normals.assign(9, 0.0f);  // and its faces give none either
  bothWays->indices = {0, 1, 2, 2, 1, 0};
  prepare(*bothWays);
  for (std::uint32_t v = 0; v < bothWays->vertexCount(); ++v)
    EXPECT_NE(vertex(bothWays->normals, v), (math::Vector3{0, 0, 0}));
}

TEST(Geometry, JoinsVerticesThatAreTheSameInEverything) {
  Mesh points(new Geometry);
  points->kind = KindPoints;
  points->positions = {5, 0, 0, 1, 2, 2, 5, 0, 0, 7, 0, 0, 5, 0, 0};
  points->colors = {5, 2, 3, 255, 1, 2, 3, 255, 5, 2, 3, 255, 7, 9, 9, 128, 5, 9, 9, 255};
  points->indices = {3, 1, 0, 2, 4};
  prepare(*points);
  EXPECT_EQ(points->vertexCount(), 4u) << "vertices of different colours are not the same";
  for (std::size_t v = 0; v < points->vertexCount(); ++v) EXPECT_EQ(points->colors[v * 4], points->positions[v * 3]);
  EXPECT_TRUE(points->transparent);
}

}  // namespace
}  // namespace nubo::scene
