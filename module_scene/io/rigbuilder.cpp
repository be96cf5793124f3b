#include "module_scene/io/rigbuilder.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <set>

#include "module_scene/io/importerror.h"
#include "module_scene/io/plaindata.h"
#include "module_scene/mesh/posing.h"
#include "module_scene/mesh/positionitems.h"

namespace nubo::io {
namespace {

using reader::None;
using scene::Deformation;

/// Makes the weights of each vertex sum up to 1; those that make no sense are 0.
void normalize(std::vector<float>& weights, std::size_t influences) {
  for (std::size_t first = 0; first < weights.size(); first += influences) {
    float sum = 0;
    for (std::size_t k = first; k < first + influences; ++k) {
      if (!std::isfinite(weights[k]) || weights[k] < 0) weights[k] = 0;
      sum += weights[k];
    }
    for (std::size_t k = first; k < first + influences && sum > 0; ++k) weights[k] /= sum;
  }
}

/// Compares vertices by what moves them, bit by bit.
class MovedItems {
 public:
  explicit MovedItems(const Deformation& deformation) : m_Deformation(deformation) {}
  const void* address(std::uint32_t i) const { return m_Deformation.bones.data() + i * influences(); }
  bool equal(std::uint32_t a, std::uint32_t b) const {
    const auto [as, an] = displacements(a);
    const auto [bs, bn] = displacements(b);
    return an == bn && sameBytes(as, bs, an) && sameBytes(bonesOf(a), bonesOf(b), influences()) &&
           sameBytes(weightsOf(a), weightsOf(b), influences());
  }
  std::uint32_t hash(std::uint32_t i) const {
    scene::WordHash hash;
    for (std::size_t k = 0; k < influences(); ++k) hash.add(bonesOf(i)[k]), hash.add(wordOf(weightsOf(i)[k]));
    const auto [displacement, count] = displacements(i);
    for (std::size_t k = 0; k < count; ++k)
      hash.add(displacement[k].shape), hash.add(wordOf(displacement[k].position[0]));
    return hash.value();
  }

 private:
  template <class T>
  static bool sameBytes(const T* a, const T* b, std::size_t count) {
    return count == 0 || std::memcmp(a, b, count * sizeof(T)) == 0;
  }
  static std::uint32_t wordOf(float value) {
    std::uint32_t word;
    std::memcpy(&word, &value, sizeof word);
    return word;
  }
  std::size_t influences() const { return m_Deformation.influences; }
  const std::uint16_t* bonesOf(std::uint32_t i) const { return m_Deformation.bones.data() + i * influences(); }
  const float* weightsOf(std::uint32_t i) const { return m_Deformation.weights.data() + i * influences(); }
  std::pair<const scene::Displacement*, std::size_t> displacements(std::uint32_t i) const {
    if (m_Deformation.firstDisplacement.empty()) return {nullptr, 0};
    const std::uint32_t first = m_Deformation.firstDisplacement[i];
    return {m_Deformation.displacements.data() + first, m_Deformation.firstDisplacement[i + 1] - first};
  }

  const Deformation& m_Deformation;
};

/// Compares vertices by where they lie and how they are lit.
class LitItems {
 public:
  explicit LitItems(const scene::Geometry& g) : m_Positions(g.positions), m_Normals(g.normals) {}
  const void* address(std::uint32_t i) const { return m_Positions.address(i); }
  bool equal(std::uint32_t a, std::uint32_t b) const { return m_Positions.equal(a, b) && m_Normals.equal(a, b); }
  std::uint32_t hash(std::uint32_t i) const { return m_Positions.hash(i); }

 private:
  scene::PositionItems m_Positions, m_Normals;
};

/// Of a shape at a vertex; 0 where that is no number.
std::array<float, 3> differenceAt(const reader::Array<float>& values, std::size_t vertex) {
  std::array<float, 3> difference{};
  for (std::size_t axis = 0; axis < 3 && !values.empty(); ++axis)
    if (const float value = values[vertex * 3 + axis]; std::isfinite(value)) difference[axis] = value;
  return difference;
}

}  // namespace

template <class T>
std::vector<T> RigBuilder::take(const reader::Array<T>& array, std::size_t size) {
  require(array.size() == size, "a mesh has other numbers of bones or weights than its vertices need");
  std::vector<T> result(array.begin(), array.end());
  m_Blocks.release(array.data());
  return result;
}

util::YPointer<Deformation> RigBuilder::take(const reader::Mesh& mesh, scene::Geometry& geometry) {
  const std::size_t vertices = geometry.vertexCount();
  util::YPointer<Deformation> deformation(new Deformation);
  takeBones(mesh, vertices, *deformation);
  takeShapes(mesh, vertices, *deformation);
  const auto identities = scene::findRepresentatives(vertices, MovedItems(*deformation));
  geometry.identities.assign(identities.begin(), identities.end());
  return deformation;
}

void RigBuilder::takeBones(const reader::Mesh& mesh, std::size_t vertices, Deformation& deformation) {
  constexpr std::uint32_t Most = 1024;
  require(mesh.influences <= Most, "a mesh has too many influences");
  deformation.influences = mesh.influences;
  deformation.bones = take(mesh.bones, vertices * mesh.influences);
  deformation.weights = take(mesh.boneWeights, vertices * mesh.influences);
  if (mesh.influences > 0) normalize(deformation.weights, mesh.influences);
}

void RigBuilder::takeShapes(const reader::Mesh& mesh, std::size_t vertices, Deformation& deformation) {
  if (mesh.shapes.empty()) return;
  constexpr std::size_t Most = 0x7FFFFFFF;
  for (const reader::Shape& shape : mesh.shapes)
    require(shape.positions.size() == vertices * 3 && (shape.normals.empty() || shape.normals.size() == vertices * 3),
            "a shape has more or fewer vertices than its mesh");
  constexpr std::array<float, 3> Nothing{};
  for (std::size_t vertex = 0; vertex < vertices; ++vertex) {
    deformation.firstDisplacement.push_back(std::uint32_t(deformation.displacements.size()));
    for (std::size_t shape = 0; shape < mesh.shapes.size(); ++shape) {
      const scene::Displacement displacement{std::uint32_t(shape), differenceAt(mesh.shapes[shape].positions, vertex),
                                             differenceAt(mesh.shapes[shape].normals, vertex)};
      if (displacement.position != Nothing || displacement.normal != Nothing)
        deformation.displacements.push_back(displacement);
    }
    if (deformation.displacements.size() > Most) throw ImportError(ImportError::tr("it has too many vertices"));
  }
  deformation.firstDisplacement.push_back(std::uint32_t(deformation.displacements.size()));
  for (const reader::Shape& shape : mesh.shapes) {
    m_Blocks.release(shape.positions.data());
    m_Blocks.release(shape.normals.data());
  }
}

util::YPointer<scene::Geometry> RigBuilder::use(const reader::Instance& instance,
                                                const util::YPointer<scene::Geometry>& geometry,
                                                const util::YPointer<Deformation>& deformation,
                                                const util::YPointer<scene::SceneElement>& element) {
  const bool hasSkin = instance.skin != None && deformation->influences > 0;
  if (!hasSkin && deformation->firstDisplacement.empty()) return geometry;
  constexpr std::size_t MostVertices = 100000000;
  m_Vertices += geometry->vertexCount();
  if (m_Vertices > MostVertices) throw ImportError(ImportError::tr("it has too many vertices"));
  if (deformation->positions.empty()) {
    deformation->positions = geometry->positions;
    deformation->normals = geometry->normals;
    const bool hasNormals = !m_Model.meshes[std::size_t(instance.mesh)].normals.empty();
    if (geometry->kind == scene::KindFaces && !hasNormals && !deformation->firstDisplacement.empty()) {
      const auto groups = scene::findRepresentatives(geometry->vertexCount(), LitItems(*geometry));
      deformation->smoothGroups.assign(groups.begin(), groups.end());
    }
  }
  const util::YPointer<scene::Geometry> own(new scene::Geometry(*geometry));
  m_Meshes.push_back({element, own, deformation, nullptr, {}, {}});
  m_Skins.push_back(hasSkin ? instance.skin : None);
  return own;
}

void RigBuilder::finish(scene::SceneElement& owner, const std::vector<util::YPointer<scene::SceneElement>>& elements) {
  m_Bones.assign(elements.size(), false);
  if (m_Meshes.empty()) return;
  std::vector<std::shared_ptr<const scene::Skin>> skins;
  for (const reader::Skin& source : m_Model.skins) {
    scene::Skin skin;
    for (const reader::Bone& bone : source.bones)
      skin.push_back({reader::named(elements, bone.node), toMatrix(bone.toBone)});
    skins.push_back(std::make_shared<const scene::Skin>(std::move(skin)));
  }
  for (std::size_t i = 0; i < m_Meshes.size(); ++i) {
    if (m_Skins[i] == None) continue;
    m_Meshes[i].skin = reader::named(skins, m_Skins[i]);
    const std::vector<std::uint16_t>& bones = m_Meshes[i].deformation->bones;
    require(
        std::all_of(bones.begin(), bones.end(), [&](std::uint16_t bone) { return bone < m_Meshes[i].skin->size(); }),
        "a mesh names a bone that its skin has not");
    for (const reader::Bone& bone : m_Model.skins[std::size_t(m_Skins[i])].bones)
      m_Bones[std::size_t(bone.node)] = true;
  }
  const util::YPointer<scene::Rig> rig(new scene::Rig);
  rig->meshes = std::move(m_Meshes);
  owner.setRig(rig);
  scene::pose(owner);
}

}  // namespace nubo::io
