#include "module_scene/io/modelbuilder.h"

#include <QHash>
#include <QSet>
#include <algorithm>
#include <cmath>

#include "module_scene/io/importerror.h"
#include "module_scene/io/materialbuilder.h"
#include "module_scene/mesh/preparation.h"

namespace nubo::io {
namespace {

using reader::BadRecord;
using reader::named;
using reader::None;

void require(bool holds) {
  if (!holds) throw BadRecord();
}

math::Matrix4 toMatrix(const std::array<double, 16>& columns) {
  math::Matrix4 m;
  for (int i = 0; i < 16; ++i) {
    if (!std::isfinite(columns[std::size_t(i)])) return math::Matrix4();
    m(i % 4, i / 4) = columns[std::size_t(i)];
  }
  return m;
}

std::size_t cornersOf(reader::Primitive primitive) { return std::size_t(primitive) + 1; }

/// Whether one of the material's textures lies by that set of coordinates.
bool usesCoordinates(const scene::Material* material, int set) {
  if (!material) return false;
  if (!material->physical) return set == 0 && material->texture;
  const scene::PhysicalMaterial& p = *material->physical;
  const std::initializer_list<const scene::TextureUse*> uses = {
      &p.baseColorTexture, &p.metallicRoughnessTexture, &p.normalTexture, &p.occlusionTexture, &p.emissiveTexture};
  return std::any_of(uses.begin(), uses.end(),
                     [set](const scene::TextureUse* use) { return use->texture && use->coordinates == set; });
}

bool isDeformed(const reader::Mesh& mesh) { return mesh.influences > 0 || !mesh.shapes.empty(); }

/// What a transform does to the axes, taken apart; a mirrored one has a negative scale.
struct Placement {
  math::Vector3 translation{0, 0, 0}, scale{1, 1, 1};
  QQuaternion rotation;

  explicit Placement(const math::Matrix4& m) : translation{m(0, 3), m(1, 3), m(2, 3)} {
    QMatrix3x3 axes;
    for (int column = 0; column < 3; ++column) {
      const double length =
          std::sqrt(m(0, column) * m(0, column) + m(1, column) * m(1, column) + m(2, column) * m(2, column));
      scale[std::size_t(column)] = length;
      for (int row = 0; row < 3; ++row) axes(row, column) = float(length > 0 ? m(row, column) / length : row == column);
    }
    const float determinant = axes(0, 0) * (axes(1, 1) * axes(2, 2) - axes(1, 2) * axes(2, 1)) -
                              axes(0, 1) * (axes(1, 0) * axes(2, 2) - axes(1, 2) * axes(2, 0)) +
                              axes(0, 2) * (axes(1, 0) * axes(2, 1) - axes(1, 1) * axes(2, 0));
    if (determinant < 0) {
      scale[0] = -scale[0];
      for (int row = 0; row < 3; ++row) axes(row, 0) = -axes(row, 0);
    }
    rotation = QQuaternion::fromRotationMatrix(axes).normalized();
  }
};

math::Vector3 vectorAt(const float* v) { return {double(v[0]), double(v[1]), double(v[2])}; }
QQuaternion rotationAt(const float* v) { return QQuaternion(v[3], v[0], v[1], v[2]).normalized(); }

/// The keys of a track that make sense, in order.
template <class Value, class Convert>
std::vector<scene::KeyFrame<Value>> keysOf(const reader::Track& track, std::size_t each, const Convert& convert) {
  const bool cubic = track.interpolation == reader::Interpolation::Cubic;
  const std::size_t stride = cubic ? each * 3 : each;
  require(track.times.size() <= track.values.size() / stride);
  std::vector<scene::KeyFrame<Value>> keys;
  for (std::size_t i = 0; i < track.times.size(); ++i) {
    const float* value = &track.values[i * stride + (cubic ? each : 0)];
    if (std::isfinite(track.times[i]) && std::all_of(value, value + each, [](float v) { return std::isfinite(v); }))
      keys.push_back({std::max(0.0, double(track.times[i])), convert(value)});
  }
  std::stable_sort(keys.begin(), keys.end(), [](const auto& a, const auto& b) { return a.time < b.time; });
  return keys;
}

}  // namespace

void ModelBuilder::build(const QString& name) {
  m_Materials = MaterialBuilder(m_Model, m_Blocks).build();
  buildMeshes();
  const auto hasContent = [](const auto& geometry) { return bool(geometry); };
  if (std::none_of(m_Geometries.begin(), m_Geometries.end(), hasContent))
    throw ImportError(m_Dropped ? ImportError::tr("none of its geometry has usable coordinates")
                                : ImportError::tr("it holds no geometry"));
  const util::YPointer<scene::SceneElement> root(new scene::SceneElement(name));
  util::YPointer<scene::SceneElement> content = root;
  if (const math::Matrix4 upright = toMatrix(m_Model.upright); upright != math::Matrix4()) {
    // An element of its own, since the file's own may be animated.
    content = new scene::SceneElement(QStringLiteral("upright"));
    content->setTransform(upright);
    root->addChild(content);
  }
  buildNodes(*content);
  if (root->getBoundingBox().isEmpty()) throw ImportError(ImportError::tr("it holds no geometry"));
  buildAnimations();
  m_Result.root = root;
}

void ModelBuilder::buildMeshes() {
  for (const reader::Mesh& mesh : m_Model.meshes) {
    util::YPointer<scene::Geometry> geometry = buildGeometry(mesh);
    const bool hadPrimitives = !geometry->indices.empty();
    prepare(*geometry);
    if (geometry->indices.empty()) {
      m_Dropped = m_Dropped || hadPrimitives;
      geometry = nullptr;
    }
    m_Geometries.push_back(geometry);
  }
}

/// A copy of an array that must be empty or of that size; the memory behind it is let go.
template <class T>
std::vector<T> ModelBuilder::take(const reader::Array<T>& array, std::size_t size) {
  require(array.empty() || array.size() == size);
  std::vector<T> result(array.begin(), array.end());
  m_Blocks.release(array.data());
  return result;
}

util::YPointer<scene::Geometry> ModelBuilder::buildGeometry(const reader::Mesh& mesh) {
  constexpr std::size_t MostVertices = 0x7FFFFFFF;
  util::YPointer<scene::Geometry> geometry(new scene::Geometry);
  geometry->kind = mesh.primitive == reader::Primitive::Triangles ? scene::KindFaces
                   : mesh.primitive == reader::Primitive::Lines   ? scene::KindLines
                                                                  : scene::KindPoints;
  if (std::isfinite(mesh.width)) geometry->width = std::clamp(mesh.width, 0.1f, 100.0f);
  if (mesh.material != None) geometry->material = named(m_Materials, mesh.material);
  const std::size_t vertices = mesh.positions.size() / 3;
  if (vertices >= MostVertices) throw ImportError(ImportError::tr("it has too many vertices"));
  geometry->positions = take(mesh.positions, vertices * 3);
  geometry->normals = take(mesh.normals, vertices * 3);
  geometry->colors = take(mesh.colors, vertices * 4);
  if (usesCoordinates(geometry->material.get(), 0)) geometry->texCoords = take(mesh.texCoords, vertices * 2);
  if (usesCoordinates(geometry->material.get(), 1))
    geometry->secondTexCoords = take(mesh.secondTexCoords, vertices * 2);
  if (mesh.indices.size() >= MostVertices) throw ImportError(ImportError::tr("it has too many faces"));
  require(mesh.indices.size() % cornersOf(mesh.primitive) == 0);
  geometry->indices = take(mesh.indices, mesh.indices.size());
  require(std::all_of(geometry->indices.begin(), geometry->indices.end(),
                      [vertices](std::uint32_t index) { return index < vertices; }));
  return geometry;
}

void ModelBuilder::buildNodes(scene::SceneElement& root) {
  constexpr int MaxDepth = 500;  // elements are visited recursively
  std::vector<int> depths;
  for (const reader::Node& node : m_Model.nodes) {
    require(node.parent >= None && node.parent < std::int32_t(m_Elements.size()));
    depths.push_back(node.parent == None ? 0 : depths[std::size_t(node.parent)] + 1);
    if (depths.back() > MaxDepth) throw ImportError(ImportError::tr("its nodes are nested too deeply"));
    const util::YPointer<scene::SceneElement> element(
        new scene::SceneElement(QString::fromUtf8(node.name.data(), int(node.name.size()))));
    element->setTransform(toMatrix(node.transform));
    for (const reader::Instance& instance : node.instances)
      if (const auto& geometry = named(m_Geometries, instance.mesh)) element->addGeometry(geometry);
    (node.parent == None ? root : *m_Elements[std::size_t(node.parent)]).addChild(element);
    m_Elements.push_back(element);
  }
}

/// Per node whether anything is seen of it or below it.
std::vector<bool> ModelBuilder::findSeen() const {
  std::vector<bool> seen;
  for (const auto& element : m_Elements) seen.push_back(!element->getGeometries().empty());
  for (std::size_t i = seen.size(); i-- > 0;)
    if (seen[i] && m_Model.nodes[i].parent != None) seen[std::size_t(m_Model.nodes[i].parent)] = true;
  return seen;
}

/// Where several animations move the same element, the first has it. Bones and cameras move nothing that is seen.
void ModelBuilder::buildAnimations() {
  const std::vector<bool> seen = findSeen();
  QSet<std::int32_t> moved;
  for (const reader::Animation& source : m_Model.animations) {
    scene::Animation animation;
    animation.name = QString::fromUtf8(source.name.c_str());
    QHash<std::int32_t, std::size_t> own;  // places in the list of tracks, by node
    for (const reader::Track& track : source.tracks) {
      const auto& element = named(m_Elements, track.node);
      if (track.path == reader::Path::Weights || moved.contains(track.node) || track.times.empty()) continue;
      if (!seen[std::size_t(track.node)]) continue;
      if (!own.contains(track.node)) {
        own[track.node] = animation.tracks.size();
        animation.tracks.emplace_back();
        animation.tracks.back().element = element;
      }
      scene::AnimationTrack& keys = animation.tracks[own[track.node]];
      if (track.path == reader::Path::Translation) keys.translations = keysOf<math::Vector3>(track, 3, vectorAt);
      if (track.path == reader::Path::Rotation) keys.rotations = keysOf<QQuaternion>(track, 4, rotationAt);
      if (track.path == reader::Path::Scale) keys.scales = keysOf<math::Vector3>(track, 3, vectorAt);
    }
    for (auto node = own.keyBegin(); node != own.keyEnd(); ++node) moved.insert(*node);
    for (scene::AnimationTrack& track : animation.tracks) {
      const Placement rest(track.element->getTransform());
      if (track.translations.empty()) track.translations = {{0, rest.translation}};
      if (track.rotations.empty()) track.rotations = {{0, rest.rotation}};
      if (track.scales.empty()) track.scales = {{0, rest.scale}};
      animation.duration = std::max(
          {animation.duration, track.translations.back().time, track.rotations.back().time, track.scales.back().time});
    }
    if (!animation.tracks.empty()) m_Result.animations.push_back(std::move(animation));
  }
  if (!m_Model.animations.empty() && std::any_of(m_Model.meshes.begin(), m_Model.meshes.end(), isDeformed))
    m_Result.warnings << ImportError::tr("bones and shapes do not deform its meshes here: only whole elements move");
}

}  // namespace nubo::io
