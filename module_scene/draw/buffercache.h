// OpenGL's copies of geometries and textures.
#pragma once

#include <vector>

#include "module_scene/draw/drawcommands.h"
#include "module_scene/draw/environment.h"
#include "module_scene/draw/sharedname.h"
#include "module_scene/draw/vertexstore.h"
#include "module_scene/graph/sceneelement.h"

namespace nubo::scene {

/// Indices that one call draws: of a cluster, or of a group in a coarse version.
struct Range {
  std::uint32_t first, count;              ///< into the indices of the geometry, or of its coarse version
  std::uint32_t firstVertex, vertexCount;  ///< as the cluster's; none: a coarse version's
  float width = 0;                         ///< pixels, of points that close gaps; 0: the batch's
};

/// A geometry's vertices and indices in OpenGL's memory, and what the drawer needs to cull it fast.
class GeometryBuffer : public util::YObject {
 public:
  /// Copies the geometry for the share group of the current context.
  explicit GeometryBuffer(const Geometry& geometry);
  ~GeometryBuffer() override;

  bool isUsable() const { return m_Place.store->isUsable(); }
  /// Has OpenGL draw it from now on. `bound` is the store that is bound, or null, and becomes its own.
  void bind(const Geometry& geometry, const VertexStore*& bound) const;
  /// What geometries share, if so, one call may draw: where vertices and indices lie, and what the indices are.
  bool sharesWith(const GeometryBuffer& other) const {
    return m_Place.store == other.m_Place.store && m_IndexType == other.m_IndexType;
  }
  GLenum indexType() const { return m_IndexType; }
  /// Draws a range, which is not a coarse version's, once.
  DrawCommand command(const Range& range) const;
  /// Draws a range of the geometry that is bound.
  void draw(GLenum mode, const Range& range) const;
  /// Draws some of its vertices, by their numbers, which OpenGL has not copied.
  void draw(GLenum mode, const std::uint32_t* vertices, std::size_t count) const;
  /// The box of each clustersPerGroup() clusters, in their order.
  const std::vector<Cluster>& groups() const { return m_Groups; }

 private:
  template <class Index>
  void copyIndices(const Geometry& geometry);

  std::size_t indexOffset(std::size_t index) const {
    return m_Place.store->indexOffset(m_Place.firstIndexByte + index * indexSize());
  }
  std::size_t indexSize() const { return m_IndexType == GL_UNSIGNED_SHORT ? sizeof(GLushort) : sizeof(GLuint); }

  VertexStore::Place m_Place;  // of its vertices, and of indices that count from each cluster's first vertex
  GLenum m_IndexType = GL_UNSIGNED_SHORT;
  std::vector<Cluster> m_Groups;
};

/// A texture's picture in OpenGL's memory, with mipmaps.
class TextureBuffer : public util::YObject {
 public:
  /// Copies the picture for the share group of the current context.
  explicit TextureBuffer(const Texture& texture);
  ~TextureBuffer() override;

  bool isUsable() const { return m_Name.isUsable(); }
  GLuint name() const { return m_Name.name(); }

 private:
  SharedName m_Name;
};

/// An environment's reflections in OpenGL's memory, level behind level.
class EnvironmentBuffer : public util::YObject {
 public:
  /// Copies the reflections for the share group of the current context.
  explicit EnvironmentBuffer(const Environment& environment);
  ~EnvironmentBuffer() override;

  bool isUsable() const { return m_Name.isUsable(); }
  GLuint name() const { return m_Name.name(); }

 private:
  SharedName m_Name;
};

/// Makes each copy once for all contexts of the share group. Any thread with a current context; a copy
/// is complete for every context when it is handed out.
class BufferCache {
 public:
  static util::YPointer<GeometryBuffer> buffer(const Geometry& geometry);
  static util::YPointer<TextureBuffer> buffer(const Texture& texture);
  static util::YPointer<EnvironmentBuffer> buffer(const Environment& environment);
  /// Makes the copies of all of these, and hands them out together: OpenGL need not draw to the end for each.
  static void fill(const std::vector<const Geometry*>& geometries);
  /// Makes the copies of all in and below an element, so that no drawing has to wait for them.
  static void fill(const SceneElement& root);
  /// Makes the copies of all textures of a material.
  static void fill(const Material& material);
};

}  // namespace nubo::scene
