#include "module_scene/draw/buffercache.h"

#include <QOpenGLExtraFunctions>
#include <algorithm>
#include <limits>
#include <unordered_set>
#include <utility>

#include "module_scene/draw/drawingstate.h"
#include "module_scene/draw/miplevels.h"

namespace nubo::scene {

namespace {

// Buffer objects are bound while they are filled; this puts back what was bound.
class BindingGuard {
 public:
  BindingGuard() {
    glGetIntegerv(GL_ARRAY_BUFFER_BINDING, &m_Array);
    glGetIntegerv(GL_ELEMENT_ARRAY_BUFFER_BINDING, &m_Elements);
    glGetIntegerv(GL_TEXTURE_BINDING_2D, &m_Texture);
    glGetIntegerv(GL_TEXTURE_BINDING_3D, &m_Volume);
  }
  ~BindingGuard() {
    QOpenGLFunctions* gl = QOpenGLContext::currentContext()->functions();
    gl->glBindBuffer(GL_ARRAY_BUFFER, GLuint(m_Array));
    gl->glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, GLuint(m_Elements));
    gl->glBindTexture(GL_TEXTURE_2D, GLuint(m_Texture));
    gl->glBindTexture(GL_TEXTURE_3D, GLuint(m_Volume));
  }

 private:
  GLint m_Array = 0, m_Elements = 0, m_Texture = 0, m_Volume = 0;
};

GLint wrapOf(Wrap wrap) {
  return wrap == Wrap::Repeat ? GL_REPEAT : wrap == Wrap::Mirror ? GL_MIRRORED_REPEAT : GL_CLAMP_TO_EDGE;
}

template <class Buffer, class Source>
util::YPointer<Buffer> upToDate(const Source& source) {
  CopySlot& slot = source.copySlot();
  const QMutexLocker locker(&slot.mutex);
  const util::YPointer<Buffer> present(static_cast<Buffer*>(slot.copy.get()));
  if (present && present->isUsable()) return present;
  const BindingGuard bindings;
  const util::YPointer<Buffer> made(new Buffer(source));
  glFinish();  // other contexts may only see it filled
  slot.copy = made;
  return made;
}

}  // namespace

GeometryBuffer::GeometryBuffer(const Geometry& geometry) {
  const bool isShort = std::all_of(geometry.clusters.begin(), geometry.clusters.end(), [](const Cluster& cluster) {
    return cluster.vertexCount <= std::numeric_limits<GLushort>::max();
  });
  m_IndexType = isShort ? GL_UNSIGNED_SHORT : GL_UNSIGNED_INT;
  m_Place = VertexStore::roomFor(geometry, geometry.indices.size() * indexSize());
  QOpenGLContext::currentContext()->functions()->glBindBuffer(GL_ARRAY_BUFFER, m_Place.store->name());
  m_Place.store->fill(geometry, m_Place.firstVertex);
  isShort ? copyIndices<GLushort>(geometry) : copyIndices<GLuint>(geometry);

  for (std::size_t i = 0; i < geometry.clusters.size(); ++i) {
    const Cluster& cluster = geometry.clusters[i];
    if (i % geometry.clustersPerGroup() == 0) {
      m_Groups.push_back(cluster);
      continue;
    }
    Cluster& group = m_Groups.back();
    group.count += cluster.count;
    for (int axis = 0; axis < 3; ++axis) {
      group.min[axis] = std::min(group.min[axis], cluster.min[axis]);
      group.max[axis] = std::max(group.max[axis], cluster.max[axis]);
    }
  }
}

GeometryBuffer::~GeometryBuffer() = default;

template <class Index>
void GeometryBuffer::copyIndices(const Geometry& geometry) {
  QOpenGLFunctions* gl = QOpenGLContext::currentContext()->functions();
  std::vector<Index> own;
  for (const Cluster& cluster : geometry.clusters) {
    own.resize(cluster.count);
    const std::uint32_t* const indices = geometry.indices.data() + cluster.first;
    for (std::size_t i = 0; i < own.size(); ++i) own[i] = Index(indices[i] - cluster.firstVertex);
    gl->glBufferSubData(GL_ARRAY_BUFFER, GLintptr(indexOffset(cluster.first)), GLsizeiptr(own.size() * sizeof(Index)),
                        own.data());
  }
}

void GeometryBuffer::bind(const Geometry& geometry, const VertexStore*& bound) const {
  m_Place.store->bind(geometry, std::exchange(bound, m_Place.store.get()));
}

DrawCommand GeometryBuffer::command(const Range& range) const {
  return {range.count, 1, GLuint(indexOffset(range.first) / indexSize()),
          GLint(m_Place.firstVertex + range.firstVertex), 0};
}

void GeometryBuffer::draw(GLenum mode, const Range& range) const {
  QOpenGLExtraFunctions* gl = QOpenGLContext::currentContext()->extraFunctions();
  gl->glDrawRangeElementsBaseVertex(mode, 0, range.vertexCount - 1, GLsizei(range.count), m_IndexType,
                                    reinterpret_cast<const void*>(indexOffset(range.first)),
                                    command(range).firstVertex);
}

void GeometryBuffer::draw(GLenum mode, const std::uint32_t* vertices, std::size_t count) const {
  QOpenGLExtraFunctions* gl = QOpenGLContext::currentContext()->extraFunctions();
  gl->glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, 0);
  gl->glDrawElementsBaseVertex(mode, GLsizei(count), GL_UNSIGNED_INT, vertices, GLint(m_Place.firstVertex));
  gl->glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, m_Place.store->name());
}

TextureBuffer::TextureBuffer(const Texture& texture) : m_Name(SharedName::texture()) {
  GLint limit = 0;
  glGetIntegerv(GL_MAX_TEXTURE_SIZE, &limit);
  QImage image = texture.getImage();
  if (image.width() > limit || image.height() > limit)
    image = image.scaled(limit, limit, Qt::KeepAspectRatio, Qt::SmoothTransformation);
  image = image.convertToFormat(QImage::Format_RGBA8888).mirrored();  // OpenGL's first row is the lowest

  QOpenGLFunctions* gl = QOpenGLContext::currentContext()->functions();
  gl->glBindTexture(GL_TEXTURE_2D, m_Name.name());
  const Sampling& sampling = texture.getSampling();
  gl->glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, wrapOf(sampling.across));
  gl->glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, wrapOf(sampling.up));
  gl->glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR_MIPMAP_LINEAR);
  gl->glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, sampling.smooth ? GL_LINEAR : GL_NEAREST);
  const auto copyLevel = [gl](int level, const QImage& pixels) {
    gl->glTexImage2D(GL_TEXTURE_2D, level, GL_RGBA8, pixels.width(), pixels.height(), 0, GL_RGBA, GL_UNSIGNED_BYTE,
                     pixels.constBits());
  };
  copyLevel(0, image);
  if (!isSoftware() || !halvesEvenly(image.size()))
    gl->glGenerateMipmap(GL_TEXTURE_2D);
  else
    for (int level = 1; image.size() != QSize(1, 1); ++level) copyLevel(level, image = halved(image));
}

TextureBuffer::~TextureBuffer() = default;

EnvironmentBuffer::EnvironmentBuffer(const Environment& environment) : m_Name(SharedName::texture()) {
  QOpenGLExtraFunctions* gl = QOpenGLContext::currentContext()->extraFunctions();
  gl->glBindTexture(GL_TEXTURE_3D, m_Name.name());
  for (const GLenum name : {GL_TEXTURE_WRAP_S, GL_TEXTURE_WRAP_T, GL_TEXTURE_WRAP_R})
    gl->glTexParameteri(GL_TEXTURE_3D, name, GL_CLAMP_TO_EDGE);
  for (const GLenum name : {GL_TEXTURE_MIN_FILTER, GL_TEXTURE_MAG_FILTER})
    gl->glTexParameteri(GL_TEXTURE_3D, name, GL_LINEAR);
  gl->glTexImage3D(GL_TEXTURE_3D, 0, GL_RGB16, Environment::Size, Environment::Size, Environment::Levels, 0, GL_RGB,
                   GL_UNSIGNED_SHORT, environment.reflections().data());
}

EnvironmentBuffer::~EnvironmentBuffer() = default;

util::YPointer<GeometryBuffer> BufferCache::buffer(const Geometry& geometry) {
  return upToDate<GeometryBuffer>(geometry);
}

void BufferCache::fill(const std::vector<const Geometry*>& geometries) {
  const BindingGuard bindings;
  std::vector<std::pair<const Geometry*, util::YPointer<GeometryBuffer>>> made;
  const auto isThere = [](const Geometry& geometry) {
    const auto* present = static_cast<GeometryBuffer*>(geometry.copySlot().copy.get());
    return present && present->isUsable();
  };
  std::unordered_set<const Geometry*> known;  // which may have several places
  for (const Geometry* geometry : geometries) {
    if (!known.insert(geometry).second) continue;
    const QMutexLocker locker(&geometry->copySlot().mutex);
    if (!isThere(*geometry)) made.emplace_back(geometry, new GeometryBuffer(*geometry));
  }
  if (made.empty()) return;
  glFinish();  // other contexts may only see them filled
  for (const auto& [geometry, buffer] : made) {
    const QMutexLocker locker(&geometry->copySlot().mutex);
    if (!isThere(*geometry)) geometry->copySlot().copy = buffer;
  }
}

void BufferCache::fill(const Material& material) {
  if (material.texture) buffer(*material.texture);
  if (!material.physical) return;
  const PhysicalMaterial& m = *material.physical;
  for (const TextureUse* use :
       {&m.baseColorTexture, &m.metallicRoughnessTexture, &m.normalTexture, &m.occlusionTexture, &m.emissiveTexture})
    if (use->texture) buffer(*use->texture);
}

void BufferCache::fill(const SceneElement& root) {
  for (const auto& geometry : root.getGeometries()) {
    buffer(*geometry);
    if (geometry->material) fill(*geometry->material);
  }
  for (const auto& child : root.getChildren()) fill(*child);
}

util::YPointer<TextureBuffer> BufferCache::buffer(const Texture& texture) { return upToDate<TextureBuffer>(texture); }

util::YPointer<EnvironmentBuffer> BufferCache::buffer(const Environment& environment) {
  return upToDate<EnvironmentBuffer>(environment);
}

}  // namespace nubo::scene
