#include "module_scene/draw/vertexstore.h"

#include <mutex>

#include "module_scene/draw/drawingstate.h"

namespace nubo::scene {

namespace {

constexpr std::size_t PositionBytes = 3 * sizeof(float), NormalBytes = 3 * sizeof(float),
                      TexCoordBytes = 2 * sizeof(float), ColorBytes = 4;
// Of what is shared: a few megabytes, in which what is left free at the end is little.
constexpr std::size_t SharedVertices = std::size_t(1) << 16, SharedIndexBytes = SharedVertices * 12;
constexpr std::size_t Share = 16;  // of each of these, at most, has a geometry that shares
constexpr std::size_t IndexAlignment = 4;
constexpr std::size_t Formats = 16;

const void* at(std::size_t bytes) { return reinterpret_cast<const void*>(bytes); }

template <class T>
void copy(std::size_t offset, const std::vector<T>& values) {
  if (!values.empty())
    functions()->glBufferSubData(GL_ARRAY_BUFFER, GLintptr(offset), GLsizeiptr(values.size() * sizeof(T)),
                                 values.data());
}

/// Of arrays of which only positions need be there.
struct Arrays {
  const void *positions, *normals, *secondTexCoords, *texCoords, *colors;
};

void pointAt(const VertexFormat& format, const Arrays& arrays) {
  const auto enable = [](GLenum array, bool isThere) {
    isThere ? glEnableClientState(array) : glDisableClientState(array);
    return isThere;
  };
  glEnableClientState(GL_VERTEX_ARRAY);
  glVertexPointer(3, GL_FLOAT, 0, arrays.positions);
  if (enable(GL_NORMAL_ARRAY, format.normals)) glNormalPointer(GL_FLOAT, 0, arrays.normals);
  functions()->glClientActiveTexture(GL_TEXTURE1);
  if (enable(GL_TEXTURE_COORD_ARRAY, format.secondTexCoords)) glTexCoordPointer(2, GL_FLOAT, 0, arrays.secondTexCoords);
  functions()->glClientActiveTexture(GL_TEXTURE0);
  if (enable(GL_TEXTURE_COORD_ARRAY, format.texCoords)) glTexCoordPointer(2, GL_FLOAT, 0, arrays.texCoords);
  if (enable(GL_COLOR_ARRAY, format.colors)) glColorPointer(4, GL_UNSIGNED_BYTE, 0, arrays.colors);
}

}  // namespace

VertexStore::VertexStore(const VertexFormat& format, std::size_t vertices, std::size_t indexBytes)
    : m_Format(format), m_Name(SharedName::buffer()), m_Vertices(vertices), m_IndexBytes(indexBytes) {
  m_Offsets[Normals] = vertices * PositionBytes;
  m_Offsets[SecondTexCoords] = m_Offsets[Normals] + (format.normals ? vertices * NormalBytes : 0);
  m_Offsets[TexCoords] = m_Offsets[SecondTexCoords] + (format.secondTexCoords ? vertices * TexCoordBytes : 0);
  m_Offsets[Colors] = m_Offsets[TexCoords] + (format.texCoords ? vertices * TexCoordBytes : 0);
  m_Offsets[Indices] = m_Offsets[Colors] + (format.colors ? vertices * ColorBytes : 0);
  functions()->glBindBuffer(GL_ARRAY_BUFFER, m_Name.name());
  functions()->glBufferData(GL_ARRAY_BUFFER, GLsizeiptr(m_Offsets[Indices] + indexBytes), nullptr, GL_STATIC_DRAW);
}

/// What bones or shapes move is made anew at each step, and would fill what is shared with what nobody draws. The
/// indices of so few vertices have two bytes.
bool VertexStore::isShared(const Geometry& geometry) {
  return geometry.identities.empty() && geometry.vertexCount() <= SharedVertices / Share &&
         geometry.indices.size() * sizeof(GLushort) <= SharedIndexBytes / Share;
}

VertexStore::Place VertexStore::roomFor(const Geometry& geometry, std::size_t indexBytes) {
  const VertexFormat format(geometry);
  const bool isSoft = isSoftware();
  const std::size_t vertices = isSoft ? 0 : geometry.vertexCount();
  if (!isShared(geometry)) return {std::make_shared<VertexStore>(format, vertices, indexBytes), 0, 0};
  static std::mutex mutex;
  static std::array<std::weak_ptr<VertexStore>, Formats> last;
  const std::lock_guard lock(mutex);
  std::shared_ptr<VertexStore> store = last[format.number()].lock();
  if (!store || !store->isUsable() || store->m_VerticesUsed + vertices > store->m_Vertices ||
      store->m_IndexBytesUsed + indexBytes > store->m_IndexBytes) {
    last[format.number()] = store =
        std::make_shared<VertexStore>(format, isSoft ? 0 : SharedVertices, SharedIndexBytes);
    glFinish();  // other contexts may fill the next places
  }
  const Place place{store, store->m_VerticesUsed, store->m_IndexBytesUsed};
  store->m_VerticesUsed += vertices;
  store->m_IndexBytesUsed += (indexBytes + IndexAlignment - 1) / IndexAlignment * IndexAlignment;
  return place;
}

void VertexStore::fill(const Geometry& geometry, std::size_t firstVertex) const {
  if (m_Vertices == 0) return;
  copy(m_Offsets[Positions] + firstVertex * PositionBytes, geometry.positions);
  copy(m_Offsets[Normals] + firstVertex * NormalBytes, geometry.normals);
  copy(m_Offsets[SecondTexCoords] + firstVertex * TexCoordBytes, geometry.secondTexCoords);
  copy(m_Offsets[TexCoords] + firstVertex * TexCoordBytes, geometry.texCoords);
  copy(m_Offsets[Colors] + firstVertex * ColorBytes, geometry.colors);
}

void VertexStore::bind(const Geometry& geometry, const VertexStore* bound) const {
  if (bound != this) {
    functions()->glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, m_Name.name());
    functions()->glBindBuffer(GL_ARRAY_BUFFER, m_Vertices > 0 ? m_Name.name() : 0);
  }
  if (m_Vertices == 0)
    pointAt(VertexFormat(geometry),
            {geometry.positions.data(), geometry.normals.data(), geometry.secondTexCoords.data(),
             geometry.texCoords.data(), geometry.colors.data()});
  else if (bound != this)
    pointAt(m_Format, {at(m_Offsets[Positions]), at(m_Offsets[Normals]), at(m_Offsets[SecondTexCoords]),
                       at(m_Offsets[TexCoords]), at(m_Offsets[Colors])});
}

}  // namespace nubo::scene
