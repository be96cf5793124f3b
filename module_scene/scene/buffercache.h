// OpenGL's copies of geometries and textures.
#pragma once

#include <vector>

#include "module_scene/scene/sceneelement.h"
#include "module_scene/scene/sharedname.h"

namespace nubo::scene {

/// A geometry's vertices and indices in OpenGL's memory, and what the drawer needs to cull it fast.
class GeometryBuffer : public util::YObject {
 public:
  /// Clusters of a geometry, taken together to be culled at once.
  static constexpr std::size_t GroupSize = 16;

  /// Copies the geometry for the share group of the current context.
  explicit GeometryBuffer(const Geometry& geometry);
  ~GeometryBuffer() override;

  bool isUsable() const { return m_Vertices.isUsable() && m_Indices.isUsable(); }
  /// Binds both buffers and points the arrays of the current context at them.
  void bind(const Geometry& geometry) const;
  /// The box of each GroupSize clusters, in their order.
  const std::vector<Cluster>& groups() const { return m_Groups; }

 private:
  SharedName m_Vertices;  // positions, normals, texture coordinates and colours, one array after the other
  SharedName m_Indices;   // and those of the coarse versions after them
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

/// Makes each copy once for all contexts of the share group. Any thread with a current context; a copy
/// is complete for every context when it is handed out.
class BufferCache {
 public:
  static util::YPointer<GeometryBuffer> buffer(const Geometry& geometry);
  static util::YPointer<TextureBuffer> buffer(const Texture& texture);
  /// Makes the copies of all in and below an element, so that no drawing has to wait for them.
  static void fill(const SceneElement& root);
};

}  // namespace nubo::scene
