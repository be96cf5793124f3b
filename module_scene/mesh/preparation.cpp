#include "module_scene/mesh/preparation.h"

#include <algorithm>
#include <cmath>

#include "module_scene/mesh/arrangement.h"
#include "module_scene/mesh/clustering.h"
#include "module_scene/mesh/outline.h"
#include "module_scene/mesh/parallel.h"
#include "module_scene/mesh/pointpreparation.h"
#include "module_scene/mesh/surface.h"
#include "module_scene/mesh/vertexorder.h"

namespace nubo::scene {
namespace {

int cornersOf(Kind kind) { return kind == KindFaces ? 3 : kind == KindLines ? 2 : 1; }

/// Makes the negative zeros positive, which are the same place but not the same bits.
void unifyZeros(std::vector<float>& values) {
  parallelRanges(values.size(), [&](std::size_t begin, std::size_t end, std::size_t) {
    for (std::size_t i = begin; i < end; ++i) values[i] += 0.0f;
  });
}

/// Leaves out what cannot be drawn: primitives with a coordinate that is no number, and faces two of
/// whose corners are in the same place and stay there.
void dropUndrawable(Geometry& g) {
  const int corners = cornersOf(g.kind);
  const auto drawable = [&](const std::uint32_t* corner) {
    const float* at[3] = {};
    for (int k = 0; k < corners; ++k) {
      at[k] = &g.positions[std::size_t(corner[k]) * 3];
      if (!std::isfinite(at[k][0]) || !std::isfinite(at[k][1]) || !std::isfinite(at[k][2])) return false;
    }
    return corners < 3 || !g.identities.empty() ||
           (!std::equal(at[0], at[0] + 3, at[1]) && !std::equal(at[1], at[1] + 3, at[2]) &&
            !std::equal(at[2], at[2] + 3, at[0]));
  };
  g.indices.resize(g.indices.size() / corners * corners);
  if (!isAny(g.indices.size() / corners, [&](std::size_t i) { return !drawable(&g.indices[i * corners]); })) return;
  std::size_t kept = 0;
  for (std::size_t i = 0; i < g.indices.size(); i += corners) {
    if (!drawable(&g.indices[i])) continue;
    if (kept < i) std::copy_n(g.indices.begin() + i, corners, g.indices.begin() + kept);
    kept += corners;
  }
  g.indices.resize(kept);
}

/// Gives vertices whose normal has no direction the mean of their faces.
void repairNormals(Geometry& g) {
  if (g.normals.empty()) return;
  const auto broken = [&](std::uint32_t v) {
    const float* n = &g.normals[std::size_t(v) * 3];
    const float length = n[0] * n[0] + n[1] * n[1] + n[2] * n[2];
    return !(length > 0) || !std::isfinite(length);
  };
  if (!isAny(g.vertexCount(), [&](std::size_t v) { return broken(std::uint32_t(v)); })) return;
  std::vector<bool> repaired(g.vertexCount());
  for (std::uint32_t v = 0; v < repaired.size(); ++v) {
    repaired[v] = broken(v);
    if (repaired[v]) std::fill_n(&g.normals[std::size_t(v) * 3], 3, 0.0f);
  }
  if (g.kind != KindFaces) return;
  for (std::size_t i = 0; i < g.indices.size(); i += 3) {
    math::Vector3 p[3];
    for (int k = 0; k < 3; ++k) std::copy_n(&g.positions[std::size_t(g.indices[i + k]) * 3], 3, p[k].begin());
    const math::Vector3 n = normalized(cross(difference(p[1], p[0]), difference(p[2], p[0])));
    for (int k = 0; k < 3; ++k)
      for (int axis = 0; axis < 3 && repaired[g.indices[i + k]]; ++axis)
        g.normals[std::size_t(g.indices[i + k]) * 3 + axis] += float(n[axis]);
  }
  for (std::uint32_t v = 0; v < repaired.size(); ++v)
    if (broken(v)) g.normals[std::size_t(v) * 3 + 2] = 1.0f;
}

/// Sorts the indices into clusters.
void makeClusters(Geometry& g) {
  const auto corners = std::uint32_t(cornersOf(g.kind));
  const Clustering clustering = clusterPrimitives(g.positions, g.indices, int(corners));
  corners == 3   ? arrange<3>(g.indices, clustering.order)
  : corners == 2 ? arrange<2>(g.indices, clustering.order)
                 : arrange<1>(g.indices, clustering.order);
  std::uint32_t first = 0;
  for (const std::uint32_t end : clustering.ends) {
    Cluster cluster;
    cluster.first = first * corners;
    cluster.count = (end - first) * corners;
    g.clusters.push_back(cluster);
    first = end;
  }
}

std::array<float, 4> normalCone(const Geometry& g, const Cluster& cluster) {
  std::vector<math::Vector3> normals;
  normals.reserve(cluster.count / 3);
  math::Vector3 axis{0, 0, 0};
  for (std::uint32_t i = cluster.first; i < cluster.first + cluster.count; i += 3) {
    math::Vector3 p[3];
    for (int k = 0; k < 3; ++k) std::copy_n(&g.positions[std::size_t(g.indices[i + k]) * 3], 3, p[k].begin());
    const math::Vector3 n = normalized(cross(difference(p[1], p[0]), difference(p[2], p[0])));
    if (n == math::Vector3{0, 0, 0}) continue;
    normals.push_back(n);
    for (int k = 0; k < 3; ++k) axis[k] += n[k];
  }
  axis = normalized(axis);
  if (axis == math::Vector3{0, 0, 0}) return Cluster().cone;
  double cosine = 1;
  for (const math::Vector3& n : normals) cosine = std::min(cosine, dot(n, axis));
  constexpr double RoundingMargin = 1e-5;
  return {float(axis[0]), float(axis[1]), float(axis[2]), float(cosine - RoundingMargin)};
}

void setCones(Geometry& g) {
  parallelRanges(g.indices.size(), [&](std::size_t begin, std::size_t end, std::size_t) {
    for (Cluster& cluster : g.clusters)
      if (cluster.first >= begin && cluster.first < end) cluster.cone = normalCone(g, cluster);
  });
}

template <class T>
void repeat(std::vector<T>& values, int each, const std::vector<SmoothVertex>& vertices) {
  if (values.empty()) return;
  values.reserve(values.size() + vertices.size() * each);
  for (const SmoothVertex& vertex : vertices)
    for (int i = 0; i < each; ++i) values.push_back(values[std::size_t(vertex.source) * each + i]);
}

void setNormals(Geometry& g, const Surface& surface) {
  SmoothNormals normals = surface.smooth();
  repeat(g.positions, 3, normals.more);
  repeat(g.colors, 4, normals.more);
  repeat(g.texCoords, 2, normals.more);
  repeat(g.secondTexCoords, 2, normals.more);
  repeat(g.identities, 1, normals.more);
  for (const auto& [corner, vertex] : normals.usesOfMore) g.indices[corner] = vertex;
  g.normals = std::move(normals.first);
  g.normals.reserve(g.positions.size());
  for (const SmoothVertex& vertex : normals.more)
    g.normals.insert(g.normals.end(), vertex.normal.begin(), vertex.normal.end());
}

/// `places`: see joinVertices().
void prepareFaces(Geometry& g, util::Scratch<std::uint32_t> places) {
  if (g.indices.empty()) return;
  const Surface surface(g.positions, g.indices, g.clusters, std::move(places));
  g.closed = !g.transparent && g.identities.empty() && surface.isClosed();
  if (g.normals.empty()) setNormals(g, surface);
  if (g.closed) setCones(g);
}

void makeOpaque(std::vector<std::uint8_t>& colors) {
  for (std::size_t i = 3; i < colors.size(); i += 4) colors[i] = 255;
}

bool isTransparent(const Geometry& g) {
  if (g.material && g.material->alphaMode == AlphaMode::Opaque) return false;
  if (g.material && g.material->texture && g.material->texture->isTransparent()) return true;
  for (std::size_t i = 3; i < g.colors.size(); i += 4)
    if (g.colors[i] < 255) return true;
  return g.colors.empty() && g.material && g.material->isTransparent();
}

}  // namespace

float longestEdgeOf(const Geometry& faces) {
  std::vector<float> squares(rangeCount(faces.primitiveCount()), 0.0f);
  parallelRanges(faces.primitiveCount(), [&](std::size_t begin, std::size_t end, std::size_t range) {
    float longest = 0;
    for (std::size_t face = begin; face < end; ++face) {
      const float* corners[3];
      for (std::size_t i = 0; i < 3; ++i) corners[i] = &faces.positions[std::size_t(faces.indices[3 * face + i]) * 3];
      for (std::size_t i = 0; i < 3; ++i) {
        const float *a = corners[i], *b = corners[(i + 1) % 3];
        const float d[]{a[0] - b[0], a[1] - b[1], a[2] - b[2]};
        longest = std::max(longest, d[0] * d[0] + d[1] * d[1] + d[2] * d[2]);
      }
    }
    squares[range] = longest;
  });
  return std::sqrt(*std::max_element(squares.begin(), squares.end()));
}

void prepare(Geometry& g) {
  if (g.material && g.material->alphaMode == AlphaMode::Opaque) makeOpaque(g.colors);
  unifyZeros(g.positions);
  dropUndrawable(g);
  unifyZeros(g.normals);
  repairNormals(g);
  if (g.kind == KindPoints && g.identities.empty()) {
    preparePoints(g);
    g.transparent = isTransparent(g);
  } else {
    makeClusters(g);
    util::Scratch<std::uint32_t> places = joinVertices(g);
    g.transparent = isTransparent(g);
    if (g.kind == KindFaces) prepareFaces(g, std::move(places));
    separateClusters(g);
    setBounds(g);
    if (g.kind == KindFaces && g.identities.empty()) g.longestEdge = longestEdgeOf(g);
  }
  constexpr std::size_t Many = 20000;
  if (g.vertexCount() > Many && g.identities.empty()) g.outline = outlineOf(g.positions, g.clusters);
}

}  // namespace nubo::scene
