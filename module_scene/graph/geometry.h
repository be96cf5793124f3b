// What elements are made of: faces, lines or points.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <vector>

#include "module_scene/graph/boundingbox.h"
#include "module_scene/graph/copyslot.h"
#include "module_scene/graph/material.h"

namespace nubo::scene {

/// Kinds of geometry, as bits of SceneDrawer::glDraw's last argument.
enum Kind { KindPoints = 1, KindLines = 2, KindFaces = 4 };

/// A run of indices that lie close together, culled and drawn as one.
struct Cluster {
  std::uint32_t first = 0;  ///< into Geometry::indices
  std::uint32_t count = 0;
  /// The vertices that its indices name. They are its own: those on the border to another are there for both, which
  /// costs a tenth or two more of them and lets OpenGL take them in order, each once.
  std::uint32_t firstVertex = 0, vertexCount = 0;
  std::array<float, 3> min{};
  std::array<float, 3> max{};
  /// Bounds the directions that the faces look in, for closed geometries: an axis of length 1 and the
  /// cosine of the greatest angle between it and any face's own (not smoothed) normal, counter-clockwise
  /// being the front. -2: not known, the cluster is never skipped for facing away.
  std::array<float, 4> cone{0, 0, 0, -2};
};

/// Fewer primitives between the same vertices, to be drawn in the place of a group's.
struct CoarseGroup {
  std::uint32_t first = 0;  ///< into CoarseVersion::indices
  std::uint32_t count = 0;  ///< 0: there is only the whole
  float error = 0;          ///< how far it may lie off, in the geometry's own units
};

/// A geometry with fewer faces, for views in motion. Not changed after it was made.
struct CoarseVersion : public util::YObject {
  std::vector<CoarseGroup> groups;     ///< of each clustersPerGroup() clusters
  std::vector<std::uint32_t> indices;  ///< of all of them, into the geometry's vertices
};

/// Indexed vertices of one kind with one material. Filled once, finished by prepare() (see mesh/preparation.h), and not
/// changed after it became part of a scene; may be shared by elements. Only one whose vertices are moved one by one
/// (see rig.h) changes with these, and belongs to one element alone.
struct NUBO_MODULE_SCENE_EXPORT Geometry : public util::YObject {
  Kind kind = KindFaces;
  std::vector<float> positions;        ///< x y z per vertex
  std::vector<float> normals;          ///< x y z per vertex, or empty
  std::vector<std::uint8_t> colors;    ///< r g b a per vertex, or empty: the material's diffuse colour
  std::vector<float> texCoords;        ///< u v per vertex, or empty
  std::vector<float> secondTexCoords;  ///< the same, for textures that lie otherwise
  std::vector<std::uint32_t> indices;  ///< 3 per face, 2 per line, 1 per point
  std::vector<std::uint32_t>
      identities;                     ///< per vertex: which of those that bones or shapes move; empty: they move none
  float width = 1.0f;                 ///< pixels: size of points, width of lines
  util::YPointer<Material> material;  ///< null: the default material

  // Made by prepare():
  std::vector<Cluster> clusters;
  BoundingBox box;
  /// x y z of the vertices that decide how much room a geometry of many takes in a view; empty: all do.
  std::vector<float> outline;
  bool transparent = false;
  /// Faces only: opaque, and each edge belongs to exactly two faces that pass it in opposite directions
  /// (degenerate faces apart), all counter-clockwise seen from outside, so that back faces cannot be seen. Never where
  /// vertices are moved one by one, which may open it or turn it inside out.
  bool closed = false;
  /// Of faces, in the geometry's own units; infinite where bones or shapes move vertices.
  float longestEdge = std::numeric_limits<float>::infinity();

  std::size_t vertexCount() const { return positions.size() / 3; }
  std::size_t primitiveCount() const { return indices.size() / (kind == KindFaces ? 3 : kind == KindLines ? 2 : 1); }

  /// Clusters that follow each other lie together: so many of them are culled, and coarsened, as one group. A coarse
  /// group keeps its border, so the groups of what has very many are larger.
  std::size_t clustersPerGroup() const { return std::clamp<std::size_t>(clusters.size() / 64, 16, 64); }

  CopySlot& copySlot() const { return m_CopySlot; }
  CopySlot& edgeSlot() const { return m_EdgeSlot; }
  CopySlot& foldSlot() const { return m_FoldSlot; }
  CopySlot& coarseSlot() const { return m_CoarseSlot; }
  /// What was made of the vertices, which have moved, is made again.
  void dropCopies() const {
    m_CopySlot.drop();
    m_EdgeSlot.drop();
  }

 private:
  mutable CopySlot m_CopySlot, m_EdgeSlot, m_FoldSlot, m_CoarseSlot;
};

/// The geometry's material, or the default one.
inline const Material& materialOf(const Geometry& geometry) {
  static const Material DefaultMaterial;
  return geometry.material ? *geometry.material : DefaultMaterial;
}

}  // namespace nubo::scene
