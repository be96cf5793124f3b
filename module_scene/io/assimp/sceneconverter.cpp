#include "module_scene/io/assimp/sceneconverter.h"

#include <assimp/scene.h>

#include <QFileInfo>
#include <QSet>
#include <cmath>

#include "module_scene/io/assimp/materialconverter.h"
#include "module_scene/io/importerror.h"
#include "module_scene/mesh/preparation.h"

namespace nubo::io {
namespace {

constexpr int MaxDepth = 500;        // elements are visited recursively
constexpr float PointSize = 2.0f;    // pixels
constexpr double DefaultTicks = 25;  // per second, where a file does not say

math::Matrix4 toMatrix(const aiMatrix4x4& source) {
  math::Matrix4 m;
  for (int row = 0; row < 4; ++row)
    for (int column = 0; column < 4; ++column) {
      m(row, column) = source[row][column];
      if (!std::isfinite(m(row, column))) return math::Matrix4();
    }
  return m;
}

std::vector<float> toFloats(const aiVector3D* vectors, unsigned count, int each) {
  std::vector<float> result;
  result.reserve(std::size_t(count) * each);
  for (unsigned i = 0; i < count; ++i)
    for (int axis = 0; axis < each; ++axis) result.push_back(vectors[i][axis]);
  return result;
}

scene::Kind kindOf(const aiMesh& mesh) {
  if (mesh.mPrimitiveTypes & (aiPrimitiveType_TRIANGLE | aiPrimitiveType_POLYGON)) return scene::KindFaces;
  return mesh.mPrimitiveTypes & aiPrimitiveType_LINE ? scene::KindLines : scene::KindPoints;
}

void copyIndices(const aiMesh& mesh, scene::Geometry& geometry) {
  const unsigned corners = geometry.kind == scene::KindFaces ? 3 : geometry.kind == scene::KindLines ? 2 : 1;
  geometry.indices.reserve(std::size_t(mesh.mNumFaces) * corners);
  for (unsigned f = 0; f < mesh.mNumFaces; ++f) {
    const aiFace& face = mesh.mFaces[f];
    const bool usable = face.mNumIndices == corners && std::all_of(face.mIndices, face.mIndices + corners,
                                                                   [&](unsigned i) { return i < mesh.mNumVertices; });
    if (usable) geometry.indices.insert(geometry.indices.end(), face.mIndices, face.mIndices + corners);
  }
}

/// What moves by the positions of its vertices, other than as a whole.
bool isDeformed(const aiMesh* mesh) { return mesh->HasBones() || mesh->mNumAnimMeshes > 0; }

bool isFinite(const aiVector3D& v) { return std::isfinite(v.x) && std::isfinite(v.y) && std::isfinite(v.z); }
bool isFinite(const aiQuaternion& q) {
  return std::isfinite(q.w) && std::isfinite(q.x) && std::isfinite(q.y) && std::isfinite(q.z);
}
math::Vector3 toValue(const aiVector3D& v) { return {v.x, v.y, v.z}; }
QQuaternion toValue(const aiQuaternion& q) { return QQuaternion(q.w, q.x, q.y, q.z).normalized(); }

/// Sorted and finite keys; `fallback` alone if there are none.
template <class Value, class Key, class Default>
std::vector<scene::KeyFrame<Value>> convertKeys(const Key* keys, unsigned count, double secondsPerTick,
                                                const Default& fallback) {
  std::vector<scene::KeyFrame<Value>> result;
  for (unsigned i = 0; i < count; ++i)
    if (std::isfinite(keys[i].mTime) && isFinite(keys[i].mValue))
      result.push_back({std::max(0.0, keys[i].mTime * secondsPerTick), toValue(keys[i].mValue)});
  std::stable_sort(result.begin(), result.end(), [](const auto& a, const auto& b) { return a.time < b.time; });
  if (result.empty()) result.push_back({0, toValue(fallback)});
  return result;
}

}  // namespace

SceneConverter::SceneConverter(const QString& fileName, const aiScene& source, ImportResult& result)
    : m_FileName(fileName), m_Source(source), m_Result(result), m_Textures(fileName, source, result.warnings) {}

void SceneConverter::convert(const math::Matrix4& upright, bool linearColors) {
  m_LinearColors = linearColors;
  convertMaterials();
  convertMeshes();
  const auto hasContent = [](const auto& geometry) { return bool(geometry); };
  if (std::none_of(m_Geometries.begin(), m_Geometries.end(), hasContent))
    throw ImportError(m_Dropped ? ImportError::tr("none of its geometry has usable coordinates")
                                : ImportError::tr("it holds no geometry"));
  util::YPointer<scene::SceneElement> content = convertNode(*m_Source.mRootNode, 0);
  if (upright != math::Matrix4()) {
    // An element of its own, since the root node may be animated.
    const util::YPointer<scene::SceneElement> turned(new scene::SceneElement(QStringLiteral("upright")));
    turned->setTransform(upright);
    turned->addChild(content);
    content = turned;
  }
  const util::YPointer<scene::SceneElement> root(new scene::SceneElement(QFileInfo(m_FileName).fileName()));
  root->addChild(content);
  if (root->getBoundingBox().isEmpty()) throw ImportError(ImportError::tr("it holds no geometry"));
  convertAnimations();
  m_Result.root = root;
}

void SceneConverter::convertMaterials() {
  for (unsigned i = 0; i < m_Source.mNumMaterials; ++i)
    m_Materials.push_back(convertMaterial(*m_Source.mMaterials[i], m_LinearColors, m_Textures));
}

void SceneConverter::convertMeshes() {
  for (unsigned i = 0; i < m_Source.mNumMeshes; ++i) {
    util::YPointer<scene::Geometry> geometry = convertMesh(*m_Source.mMeshes[i]);
    const bool hadPrimitives = !geometry->indices.empty();
    prepare(*geometry);
    if (geometry->indices.empty()) {
      m_Dropped = m_Dropped || hadPrimitives;
      geometry = nullptr;
    }
    m_Geometries.push_back(geometry);
  }
}

util::YPointer<scene::Geometry> SceneConverter::convertMesh(const aiMesh& mesh) const {
  util::YPointer<scene::Geometry> geometry(new scene::Geometry);
  geometry->kind = kindOf(mesh);
  if (geometry->kind == scene::KindPoints) geometry->width = PointSize;
  if (mesh.mMaterialIndex < m_Materials.size()) geometry->material = m_Materials[mesh.mMaterialIndex];
  geometry->positions = toFloats(mesh.mVertices, mesh.mNumVertices, 3);
  if (mesh.HasNormals()) geometry->normals = toFloats(mesh.mNormals, mesh.mNumVertices, 3);
  if (mesh.HasTextureCoords(0) && geometry->material && geometry->material->texture)
    geometry->texCoords = toFloats(mesh.mTextureCoords[0], mesh.mNumVertices, 2);
  if (mesh.HasVertexColors(0)) convertColors(mesh, *geometry);
  copyIndices(mesh, *geometry);
  return geometry;
}

/// Colours stand in the place of the material's, which they tint in glTF.
void SceneConverter::convertColors(const aiMesh& mesh, scene::Geometry& geometry) const {
  geometry.colors.reserve(std::size_t(mesh.mNumVertices) * 4);
  for (unsigned i = 0; i < mesh.mNumVertices; ++i)
    for (unsigned k = 0; k < 4; ++k) {
      float value = mesh.mColors[0][i][k];
      value = std::isfinite(value) ? std::clamp(value, 0.0f, 1.0f) : 1.0f;
      if (m_LinearColors && k < 3) value = displayValue(value);
      if (m_LinearColors && geometry.material) value *= geometry.material->diffuse[k];
      geometry.colors.push_back(std::uint8_t(std::lround(value * 255)));
    }
}

util::YPointer<scene::SceneElement> SceneConverter::convertNode(const aiNode& node, int depth) {
  if (depth > MaxDepth) throw ImportError(ImportError::tr("its nodes are nested too deeply"));
  const util::YPointer<scene::SceneElement> element(new scene::SceneElement(QString::fromUtf8(node.mName.C_Str())));
  element->setTransform(toMatrix(node.mTransformation));
  for (unsigned i = 0; i < node.mNumMeshes; ++i)
    if (node.mMeshes[i] < m_Geometries.size() && m_Geometries[node.mMeshes[i]])
      element->addGeometry(m_Geometries[node.mMeshes[i]]);
  for (unsigned i = 0; i < node.mNumChildren; ++i)
    if (node.mChildren[i]) element->addChild(convertNode(*node.mChildren[i], depth + 1));
  m_Elements.insert(QByteArray(node.mName.C_Str()), {element, &node});
  return element;
}

void SceneConverter::convertAnimations() {
  QSet<scene::SceneElement*> moved;
  for (unsigned i = 0; i < m_Source.mNumAnimations; ++i) {
    scene::Animation animation = convertAnimation(*m_Source.mAnimations[i], moved);
    if (!animation.tracks.empty()) m_Result.animations.push_back(std::move(animation));
  }
  if (m_Source.mNumAnimations > 0 && std::any_of(m_Source.mMeshes, m_Source.mMeshes + m_Source.mNumMeshes, isDeformed))
    m_Result.warnings << ImportError::tr("bones and shapes do not deform its meshes here: only whole elements move");
}

/// Where several animations move the same element, the first has it. Bones and cameras move nothing that is seen.
scene::Animation SceneConverter::convertAnimation(const aiAnimation& source, QSet<scene::SceneElement*>& moved) {
  scene::Animation animation;
  animation.name = QString::fromUtf8(source.mName.C_Str());
  const double secondsPerTick = 1 / (source.mTicksPerSecond > 0 ? source.mTicksPerSecond : DefaultTicks);
  for (unsigned i = 0; i < source.mNumChannels; ++i) {
    const auto found = m_Elements.constFind(QByteArray(source.mChannels[i]->mNodeName.C_Str()));
    if (found == m_Elements.constEnd() || moved.contains(found->element.get())) continue;
    if (found->element->getBoundingBox().isEmpty()) continue;
    moved.insert(found->element.get());
    animation.tracks.push_back(convertTrack(*source.mChannels[i], *found->node, secondsPerTick));
    const scene::AnimationTrack& track = animation.tracks.back();
    animation.duration = std::max(
        {animation.duration, track.translations.back().time, track.rotations.back().time, track.scales.back().time});
  }
  return animation;
}

scene::AnimationTrack SceneConverter::convertTrack(const aiNodeAnim& channel, const aiNode& node,
                                                   double secondsPerTick) const {
  aiVector3D scale(1, 1, 1), translation;
  aiQuaternion rotation;
  node.mTransformation.Decompose(scale, rotation, translation);
  scene::AnimationTrack track;
  track.element = m_Elements[QByteArray(node.mName.C_Str())].element;
  track.translations =
      convertKeys<math::Vector3>(channel.mPositionKeys, channel.mNumPositionKeys, secondsPerTick, translation);
  track.rotations = convertKeys<QQuaternion>(channel.mRotationKeys, channel.mNumRotationKeys, secondsPerTick, rotation);
  track.scales = convertKeys<math::Vector3>(channel.mScalingKeys, channel.mNumScalingKeys, secondsPerTick, scale);
  return track;
}

}  // namespace nubo::io
