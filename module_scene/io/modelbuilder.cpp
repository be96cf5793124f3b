#include "module_scene/io/modelbuilder.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "module_scene/io/animationbuilder.h"
#include "module_scene/io/importerror.h"
#include "module_scene/io/materialbuilder.h"
#include "module_scene/io/plaindata.h"
#include "module_scene/mesh/featureedges.h"
#include "module_scene/mesh/parallel.h"
#include "module_scene/mesh/preparation.h"
#include "module_scene/mesh/readylist.h"

namespace nubo::io {
namespace {

using reader::named;
using reader::None;

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

/// Leaves out primitives that name vertices which are not there, and what is left over at the end.
void dropBroken(std::vector<std::uint32_t>& indices, std::size_t corners, std::size_t vertices) {
  const auto isThere = [vertices](std::uint32_t index) { return index < vertices; };
  indices.resize(indices.size() / corners * corners);
  if (!scene::isAny(indices.size(), [&](std::size_t i) { return !isThere(indices[i]); })) return;
  std::size_t kept = 0;
  for (std::size_t i = 0; i < indices.size(); i += corners) {
    const auto first = indices.begin() + std::ptrdiff_t(i);
    if (!std::all_of(first, first + std::ptrdiff_t(corners), isThere)) continue;
    if (kept < i) std::copy_n(first, corners, indices.begin() + std::ptrdiff_t(kept));
    kept += corners;
  }
  indices.resize(kept);
}

}  // namespace

void ModelBuilder::build(const QString& name, const QString& variant) {
  m_Materials = MaterialBuilder(m_Model, m_Blocks).build();
  chooseMaterials(variant);
  buildMeshes();
  const auto hasContent = [](const auto& geometry) { return bool(geometry); };
  const bool isWhole = m_Model.references.empty();
  if (isWhole && std::none_of(m_Geometries.begin(), m_Geometries.end(), hasContent))
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
  m_Rig.finish(*content, m_Elements);
  buildCameras();
  setJoints();
  m_Result.animations = buildAnimations(m_Model, m_Elements, findSeen());
  m_Result.root = root;
}

void ModelBuilder::chooseMaterials(const QString& variant) {
  for (const reader::Mesh& mesh : m_Model.meshes) m_Chosen.push_back(mesh.material);
  for (const reader::Variant& choice : m_Model.variants) {
    const QString name = QString::fromUtf8(choice.name.c_str());
    m_Result.variants << name;
    for (const reader::Variant::Use& use : choice.uses) {
      named(m_Model.meshes, use.mesh);
      named(m_Materials, use.material);
      if (name == variant) m_Chosen[std::size_t(use.mesh)] = use.material;
    }
  }
}

void ModelBuilder::buildMeshes() {
  std::vector<bool> isEdges(m_Model.meshes.size());
  for (const reader::Mesh& mesh : m_Model.meshes) {
    if (mesh.edges == None) continue;
    require(named(m_Model.meshes, mesh.edges).primitive == reader::Primitive::Lines,
            "a mesh has edges that are no lines");
    isEdges[std::size_t(mesh.edges)] = true;
  }
  const std::size_t count = m_Model.meshes.size();
  for (std::size_t i = 0; i < count; ++i) m_Geometries.push_back(newGeometry(m_Model.meshes[i], m_Chosen[i]));
  m_Deformations.resize(count);
  std::vector<char> hadPrimitives(count);  // no bits: each is written on another thread
  const auto isDeformed = [this](std::size_t i) { return RigBuilder::isDeformed(m_Model.meshes[i]); };
  const auto prepareShown = [&](std::size_t i) {
    if (!isEdges[i]) prepare(*m_Geometries[i]);
  };
  scene::runOnCores(count, [&](std::size_t i) {
    takeArrays(m_Model.meshes[i], *m_Geometries[i]);
    hadPrimitives[i] = !m_Geometries[i]->indices.empty();
    if (!isDeformed(i)) prepareShown(i);
  });
  // What deforms vertices goes by the order in which the file has them, which preparing them changes.
  for (std::size_t i = 0; i < count; ++i)
    if (isDeformed(i)) m_Deformations[i] = m_Rig.take(m_Model.meshes[i], *m_Geometries[i]);
  scene::runOnCores(count, [&](std::size_t i) {
    if (isDeformed(i)) prepareShown(i);
  });
  for (std::size_t i = 0; i < m_Geometries.size(); ++i) {
    if (!m_Geometries[i]->indices.empty() || isEdges[i]) continue;
    m_Dropped = m_Dropped || hadPrimitives[i] != 0;
    m_Geometries[i] = nullptr;
  }
  giveEdges();
}

/// Edges are no geometries of their own then: nothing else shows them.
void ModelBuilder::giveEdges() {
  for (std::size_t i = 0; i < m_Geometries.size(); ++i) {
    const reader::Mesh& mesh = m_Model.meshes[i];
    if (mesh.edges == None) continue;
    require(mesh.primitive == reader::Primitive::Triangles, "a mesh has edges, but no triangles");
    const auto lines = std::exchange(m_Geometries[std::size_t(mesh.edges)], nullptr);
    if (m_Geometries[i] && lines) setFeatureEdges(*m_Geometries[i], lines);
  }
}

/// A copy of an array that must be empty or of that size, whose memory is let go; or of what is stored in its place.
template <class T>
std::vector<T> ModelBuilder::take(const reader::Array<T>& array, const reader::Stored& stored, std::uint64_t size) {
  require((array.empty() || (array.size() == size && stored.count == 0)) && (stored.count == 0 || stored.count == size),
          "a mesh has an array that is longer or shorter than its vertices need");
  if (stored.count > 0) {
    if constexpr (sizeof(T) == sizeof(float)) return m_Stored.read<T>(stored);
  }
  std::vector<T> result = scene::readyList<T>(array.size());
  result.assign(array.begin(), array.end());
  m_Blocks.release(array.data());
  return result;
}

/// Without its arrays.
util::YPointer<scene::Geometry> ModelBuilder::newGeometry(const reader::Mesh& mesh, std::int32_t material) const {
  util::YPointer<scene::Geometry> geometry(new scene::Geometry);
  geometry->kind = mesh.primitive == reader::Primitive::Triangles ? scene::KindFaces
                   : mesh.primitive == reader::Primitive::Lines   ? scene::KindLines
                                                                  : scene::KindPoints;
  if (std::isfinite(mesh.width)) geometry->width = std::clamp(mesh.width, 0.1f, 100.0f);
  if (material != None) geometry->material = named(m_Materials, material);
  return geometry;
}

/// Called for several meshes at once.
void ModelBuilder::takeArrays(const reader::Mesh& mesh, scene::Geometry& geometry) {
  constexpr std::size_t MostVertices = 0x7FFFFFFF;
  const std::uint64_t vertices = std::max<std::uint64_t>(mesh.positions.size(), mesh.storedPositions.count) / 3;
  if (vertices >= MostVertices) throw ImportError(ImportError::tr("it has too many vertices"));
  geometry.positions = take(mesh.positions, mesh.storedPositions, vertices * 3);
  geometry.normals = take(mesh.normals, mesh.storedNormals, vertices * 3);
  geometry.colors = take(mesh.colors, {}, vertices * 4);
  if (usesCoordinates(geometry.material.get(), 0)) geometry.texCoords = take(mesh.texCoords, {}, vertices * 2);
  if (usesCoordinates(geometry.material.get(), 1))
    geometry.secondTexCoords = take(mesh.secondTexCoords, {}, vertices * 2);
  const std::uint64_t indices = std::max<std::uint64_t>(mesh.indices.size(), mesh.storedIndices.count);
  if (indices >= MostVertices) throw ImportError(ImportError::tr("it has too many faces"));
  geometry.indices = take(mesh.indices, mesh.storedIndices, indices);
  const std::size_t there = geometry.indices.size();
  dropBroken(geometry.indices, cornersOf(mesh.primitive), vertices);
  require(mesh.storedIndices.count > 0 || geometry.indices.size() == there,
          "indices of a mesh name vertices that are not there, or end within a primitive");
}

void ModelBuilder::buildNodes(scene::SceneElement& root) {
  constexpr int MaxDepth = 500;  // elements are visited recursively
  std::vector<int> depths;
  for (const reader::Node& node : m_Model.nodes) {
    require(node.parent >= None && node.parent < std::int32_t(m_Elements.size()), "a parent stands behind its child");
    depths.push_back(node.parent == None ? 0 : depths[std::size_t(node.parent)] + 1);
    if (depths.back() > MaxDepth) throw ImportError(ImportError::tr("its nodes are nested too deeply"));
    const util::YPointer<scene::SceneElement> element(
        new scene::SceneElement(QString::fromUtf8(node.name.data(), int(node.name.size()))));
    element->setTransform(toMatrix(node.transform));
    for (const reader::Instance& instance : node.instances) addInstance(node, instance, element);
    (node.parent == None ? root : *m_Elements[std::size_t(node.parent)]).addChild(element);
    m_Elements.push_back(element);
  }
}

void ModelBuilder::setJoints() {
  const auto textOf = [](const std::string& text) { return QString::fromUtf8(text.data(), int(text.size())); };
  for (const reader::Joint& source : m_Model.joints) {
    scene::SceneElement& element = *named(m_Elements, source.node);
    scene::Joint joint{textOf(source.name),    element.getTransform(),
                       source.turns,           {source.axis[0], source.axis[1], source.axis[2]},
                       source.lower,           source.upper,
                       textOf(source.follows), source.multiplier,
                       source.offset};
    const auto values = {joint.axis[0], joint.axis[1],    joint.axis[2], joint.lower,
                         joint.upper,   joint.multiplier, joint.offset};
    if (std::all_of(values.begin(), values.end(), [](double value) { return std::isfinite(value); }))
      element.setJoint(joint);
  }
}

std::vector<ModelBuilder::Part> ModelBuilder::parts() const {
  constexpr std::size_t Most = 10000;
  require(m_Model.references.size() <= Most, "there are too many references");
  std::vector<Part> parts;
  for (const reader::Reference& source : m_Model.references) {
    Part part{named(m_Elements, source.node), QString::fromStdString(source.file), nullptr};
    if (source.material != None) part.material = named(m_Materials, source.material);
    parts.push_back(std::move(part));
  }
  return parts;
}

void ModelBuilder::addInstance(const reader::Node& node, const reader::Instance& instance,
                               const util::YPointer<scene::SceneElement>& element) {
  const auto& geometry = named(m_Geometries, instance.mesh);
  if (!geometry) return;
  const auto& deformation = m_Deformations[std::size_t(instance.mesh)];
  element->addGeometry(deformation ? m_Rig.use(instance, geometry, deformation, element) : geometry);
  const reader::Mesh& mesh = m_Model.meshes[std::size_t(instance.mesh)];
  std::vector<float> weights = node.shapeWeights.empty() ? mesh.shapeWeights : node.shapeWeights;
  if (weights.size() <= element->getShapeWeights().size()) return;
  for (float& weight : weights)
    if (!std::isfinite(weight)) weight = 0;
  element->setShapeWeights(std::move(weights));
}

void ModelBuilder::buildCameras() {
  QSet<QString> taken;
  for (std::size_t i = 0; i < m_Elements.size(); ++i) {
    const reader::Node& node = m_Model.nodes[i];
    if (node.camera == None) continue;
    const reader::Camera& source = named(m_Model.cameras, node.camera);
    const std::string& name = source.name.empty() ? node.name : source.name;
    scene::FileCamera camera{uniqueName(QString::fromUtf8(name.c_str()).simplified(), ImportError::tr("Camera"), taken),
                             m_Elements[i]};
    camera.orthographic = source.orthographic;
    if (std::isfinite(source.height) && source.height > 0) camera.height = double(source.height);
    m_Result.cameras.push_back(camera);
  }
}

/// Per node whether anything is seen of it or below it, be it that it has vertices follow it.
std::vector<bool> ModelBuilder::findSeen() const {
  std::vector<bool> seen = m_Rig.bones();
  for (std::size_t i = seen.size(); i-- > 0;) {
    if (!m_Elements[i]->getGeometries().empty()) seen[i] = true;
    if (seen[i] && m_Model.nodes[i].parent != None) seen[std::size_t(m_Model.nodes[i].parent)] = true;
  }
  return seen;
}

}  // namespace nubo::io
