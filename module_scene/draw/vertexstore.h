// Where vertices and indices of geometries lie in OpenGL's memory.
#pragma once

#include <QOpenGLFunctions>
#include <array>
#include <cstddef>
#include <memory>

#include "module_scene/draw/sharedname.h"
#include "module_scene/graph/geometry.h"

namespace nubo::scene {

/// What the vertices of some geometries have beside their positions.
struct VertexFormat {
  explicit VertexFormat(const Geometry& geometry)
      : normals(!geometry.normals.empty()),
        secondTexCoords(!geometry.secondTexCoords.empty()),
        texCoords(!geometry.texCoords.empty()),
        colors(!geometry.colors.empty()) {}
  std::size_t number() const {
    return std::size_t(normals) | std::size_t(secondTexCoords) << 1 | std::size_t(texCoords) << 2 |
           std::size_t(colors) << 3;
  }

  bool normals, secondTexCoords, texCoords, colors;
};

/// A buffer of vertices of one format, one array for each of what they have, and indices behind them. A large geometry
/// has one of its own; small ones, of which an assembly has thousands, share one: to make and to bind one takes OpenGL
/// as long as to draw a few hundred faces. Where OpenGL is software it has indices only, since vertices are read as
/// fast where the geometry has them.
class VertexStore {
 public:
  /// Room in a store: from which vertex, and from which byte of its indices on.
  struct Place {
    std::shared_ptr<const VertexStore> store;
    std::size_t firstVertex = 0, firstIndexByte = 0;
  };
  /// Whether a geometry has room in a store that others share.
  static bool isShared(const Geometry& geometry);
  /// Room for a geometry and as many bytes of indices, for the share group of the current context. It is the caller's
  /// to fill, and is not used again before the whole store is dropped, with the last that has room in it. On any thread
  /// with a context.
  static Place roomFor(const Geometry& geometry, std::size_t indexBytes);

  VertexStore(const VertexFormat& format, std::size_t vertices, std::size_t indexBytes);

  GLuint name() const { return m_Name.name(); }
  bool isUsable() const { return m_Name.isUsable(); }
  /// Has the current context draw a geometry that has room in this, where `bound` is what it drew before, or null.
  void bind(const Geometry& geometry, const VertexStore* bound) const;
  /// Copies a geometry's vertices to their place in it; the buffer is bound.
  void fill(const Geometry& geometry, std::size_t firstVertex) const;
  /// Byte of the buffer at which a byte of the indices lies.
  std::size_t indexOffset(std::size_t indexByte) const { return m_Offsets.back() + indexByte; }

 private:
  enum Array { Positions, Normals, SecondTexCoords, TexCoords, Colors, Indices, ArrayCount };

  const VertexFormat m_Format;
  SharedName m_Name;
  std::array<std::size_t, ArrayCount> m_Offsets{};  // bytes before each
  const std::size_t m_Vertices, m_IndexBytes;       // that there is room for
  std::size_t m_VerticesUsed = 0, m_IndexBytesUsed = 0;
};

}  // namespace nubo::scene
