#include "plugins/readers/assimp/sceneconverter.h"

#include <assimp/scene.h>

#include <algorithm>
#include <cmath>

#include "plugins/readers/assimp/materialconverter.h"
#include "plugins/readers/assimp/upright.h"

namespace nubo::reader {
namespace {

constexpr float PointSize = 2.0f;      // pixels
constexpr float DefaultAspect = 1.5f;  // width by height of a camera's picture, where a file does not say
constexpr double DefaultTicks = 25;    // per second, where a file does not say

std::array<double, 16> columnsOf(const aiMatrix4x4& source) {
  std::array<double, 16> columns{};
  for (unsigned row = 0; row < 4; ++row)
    for (unsigned column = 0; column < 4; ++column) columns[column * 4 + row] = double(source[row][column]);
  return columns;
}

Array<float> floatsOf(const aiVector3D* vectors, unsigned count, unsigned each, Output& output) {
  if (!vectors) return {};
  const Array<float> result = output.array<float>(std::size_t(count) * each);
  for (std::size_t i = 0; i < result.size(); ++i) result[i] = vectors[i / each][unsigned(i % each)];
  return result;
}

/// Differences, for what Assimp holds as places.
Array<float> differencesOf(const aiVector3D* changed, const aiVector3D* rest, unsigned count, Output& output) {
  const Array<float> result = output.array<float>(changed && rest ? std::size_t(count) * 3 : 0);
  for (std::size_t i = 0; i < result.size(); ++i)
    result[i] = changed[i / 3][unsigned(i % 3)] - rest[i / 3][unsigned(i % 3)];
  return result;
}

Primitive primitiveOf(const aiMesh& mesh) {
  if (mesh.mPrimitiveTypes & (aiPrimitiveType_TRIANGLE | aiPrimitiveType_POLYGON)) return Primitive::Triangles;
  return mesh.mPrimitiveTypes & aiPrimitiveType_LINE ? Primitive::Lines : Primitive::Points;
}

Array<std::uint32_t> indicesOf(const aiMesh& mesh, Primitive primitive, Output& output) {
  const unsigned corners = unsigned(primitive) + 1;
  Array<std::uint32_t> indices = output.array<std::uint32_t>(std::size_t(mesh.mNumFaces) * corners);
  std::size_t size = 0;
  for (unsigned f = 0; f < mesh.mNumFaces; ++f) {
    const aiFace& face = mesh.mFaces[f];
    const bool usable = face.mNumIndices == corners && std::all_of(face.mIndices, face.mIndices + corners,
                                                                   [&](unsigned i) { return i < mesh.mNumVertices; });
    if (!usable) continue;
    std::copy_n(face.mIndices, corners, indices.begin() + size);
    size += corners;
  }
  indices.shrink(size);
  return indices;
}

/// Values of keys one after the other.
template <class Key, class Put>
Track trackOf(std::int32_t node, Path path, const Key* keys, unsigned count, unsigned each, double secondsPerTick,
              const Put& put, Output& output) {
  Track track;
  track.node = node;
  track.path = path;
  track.times = output.array<float>(count);
  track.values = output.array<float>(std::size_t(count) * each);
  for (unsigned i = 0; i < count; ++i) {
    track.times[i] = float(keys[i].mTime * secondsPerTick);
    put(keys[i], &track.values[std::size_t(i) * each]);
  }
  return track;
}

/// Where a file has no material the library makes one up, in a colour that depends on the format; some without a name.
bool isMadeUp(const aiMaterial& material) {
  constexpr unsigned FewProperties = 5;  // those of formats that have materials are more
  const aiString name = material.GetName();
  if (name.length > 0) return name == aiString(AI_DEFAULT_MATERIAL_NAME);
  return material.mNumProperties <= FewProperties && material.GetTextureCount(aiTextureType_DIFFUSE) == 0;
}

/// Some readers of Assimp's give vertices without a colour one that nobody sees.
bool showsColors(const aiMesh& mesh) {
  return mesh.HasVertexColors(0) && std::any_of(mesh.mColors[0], mesh.mColors[0] + mesh.mNumVertices,
                                                [](const aiColor4D& color) { return color.a > 0; });
}

}  // namespace

void SceneConverter::convert() {
  m_Output.model.upright = columnsOf(uprightFor(m_Format, m_Source));
  convertMaterials(m_Source, m_Output.model, m_Output);
  convertNodes();
  for (unsigned i = 0; i < m_Source.mNumMeshes; ++i) {
    convertMesh(*m_Source.mMeshes[i]);
    m_Output.progress(double(i) / m_Source.mNumMeshes);
  }
  for (unsigned i = 0; i < m_Source.mNumCameras; ++i) convertCamera(*m_Source.mCameras[i]);
  for (unsigned i = 0; i < m_Source.mNumAnimations; ++i) convertAnimation(*m_Source.mAnimations[i]);
}

void SceneConverter::convertMesh(const aiMesh& source) {
  Mesh mesh;
  mesh.primitive = primitiveOf(source);
  if (mesh.primitive == Primitive::Points) mesh.width = PointSize;
  if (source.mMaterialIndex < m_Source.mNumMaterials && !isMadeUp(*m_Source.mMaterials[source.mMaterialIndex]))
    mesh.material = std::int32_t(source.mMaterialIndex);
  mesh.positions = floatsOf(source.mVertices, source.mNumVertices, 3, m_Output);
  mesh.normals = floatsOf(source.mNormals, source.mNumVertices, 3, m_Output);
  mesh.texCoords = floatsOf(source.mTextureCoords[0], source.mNumVertices, 2, m_Output);
  mesh.secondTexCoords = floatsOf(source.mTextureCoords[1], source.mNumVertices, 2, m_Output);
  if (showsColors(source)) convertColors(source, mesh);
  mesh.indices = indicesOf(source, mesh.primitive, m_Output);
  convertShapes(source, mesh);
  convertBones(source, mesh);
  m_Output.model.meshes.push_back(std::move(mesh));
}

/// Colours stand in the place of the material's.
void SceneConverter::convertColors(const aiMesh& source, Mesh& mesh) {
  mesh.colors = m_Output.array<std::uint8_t>(std::size_t(source.mNumVertices) * 4);
  for (std::size_t i = 0; i < mesh.colors.size(); ++i) {
    float value = source.mColors[0][i / 4][unsigned(i % 4)];
    value = std::isfinite(value) ? std::clamp(value, 0.0f, 1.0f) : 1.0f;
    mesh.colors[i] = std::uint8_t(std::lround(value * 255));
  }
}

void SceneConverter::convertShapes(const aiMesh& source, Mesh& mesh) {
  for (unsigned i = 0; i < source.mNumAnimMeshes; ++i) {
    const aiAnimMesh& changed = *source.mAnimMeshes[i];
    if (changed.mNumVertices != source.mNumVertices) continue;
    Shape shape;
    shape.name = changed.mName.C_Str();
    shape.positions = differencesOf(changed.mVertices, source.mVertices, source.mNumVertices, m_Output);
    shape.normals = differencesOf(changed.mNormals, source.mNormals, source.mNumVertices, m_Output);
    if (shape.positions.empty()) continue;
    mesh.shapes.push_back(std::move(shape));
    // Of FBX files Assimp tells the weight at the full shape instead of that at rest.
    mesh.shapeWeights.push_back(m_Format == "fbx" ? 0 : changed.mWeight);
  }
}

/// The skin that goes with the bones has the number of the mesh's instance.
void SceneConverter::convertBones(const aiMesh& source, Mesh& mesh) {
  constexpr std::uint32_t Most = 16;
  if (source.mNumBones == 0 || source.mNumBones > 0xFFFF) return;
  std::vector<std::vector<std::pair<float, std::uint16_t>>> influences(source.mNumVertices);
  Skin skin;
  for (unsigned b = 0; b < source.mNumBones; ++b) {
    const aiBone& bone = *source.mBones[b];
    const std::int32_t node = nodeNamed(bone.mName.C_Str());
    if (node == None)
      return m_Output.warning(
          text("the bone '%1' is missing, so that '%2' keeps its form", {bone.mName.C_Str(), source.mName.C_Str()}));
    skin.bones.push_back({node, columnsOf(bone.mOffsetMatrix)});
    for (unsigned w = 0; w < bone.mNumWeights; ++w)
      if (bone.mWeights[w].mVertexId < source.mNumVertices && bone.mWeights[w].mWeight > 0)
        influences[bone.mWeights[w].mVertexId].emplace_back(bone.mWeights[w].mWeight, std::uint16_t(b));
  }
  for (auto& vertex : influences) {
    std::sort(vertex.rbegin(), vertex.rend());
    mesh.influences = std::max(mesh.influences, std::min(Most, std::uint32_t(vertex.size())));
  }
  mesh.bones = m_Output.array<std::uint16_t>(influences.size() * mesh.influences);
  mesh.boneWeights = m_Output.array<float>(influences.size() * mesh.influences);
  for (std::size_t v = 0; v < influences.size(); ++v)
    for (std::size_t i = 0; i < std::min<std::size_t>(mesh.influences, influences[v].size()); ++i) {
      mesh.boneWeights[v * mesh.influences + i] = influences[v][i].first;
      mesh.bones[v * mesh.influences + i] = influences[v][i].second;
    }
  const auto meshNumber = std::int32_t(m_Output.model.meshes.size());
  const auto skinNumber = std::int32_t(m_Output.model.skins.size());
  m_Output.model.skins.push_back(std::move(skin));
  for (Node& node : m_Output.model.nodes)
    for (Instance& instance : node.instances)
      if (instance.mesh == meshNumber) instance.skin = skinNumber;
}

void SceneConverter::convertNodes() {
  std::vector<std::pair<const aiNode*, std::int32_t>> waiting{{m_Source.mRootNode, None}};
  while (!waiting.empty()) {
    const auto [source, parent] = waiting.back();
    waiting.pop_back();
    Node node;
    node.name = source->mName.C_Str();
    node.parent = parent;
    node.transform = columnsOf(source->mTransformation);
    for (unsigned i = 0; i < source->mNumMeshes; ++i)
      if (source->mMeshes[i] < m_Source.mNumMeshes) node.instances.push_back({std::int32_t(source->mMeshes[i]), None});
    const auto number = std::int32_t(m_Output.model.nodes.size());
    m_Nodes[node.name] = number;
    m_Output.model.nodes.push_back(std::move(node));
    for (unsigned i = source->mNumChildren; i-- > 0;)
      if (source->mChildren[i]) waiting.emplace_back(source->mChildren[i], number);
  }
}

std::int32_t SceneConverter::nodeNamed(const char* name) const {
  const auto found = m_Nodes.find(name);
  return found == m_Nodes.end() ? None : found->second;
}

/// Gets a node of its own, below that of its name, because it may look anywhere from there.
void SceneConverter::convertCamera(const aiCamera& source) {
  const std::int32_t parent = nodeNamed(source.mName.C_Str());
  const aiVector3D back = -aiVector3D(source.mLookAt).NormalizeSafe();
  const aiVector3D right = (aiVector3D(source.mUp) ^ back).NormalizeSafe();
  const aiVector3D up = back ^ right;
  if (parent == None || right.SquareLength() == 0) return;
  Camera camera;
  camera.name = source.mName.C_Str();
  const float aspect = source.mAspect > 0 ? source.mAspect : DefaultAspect;
  camera.orthographic = source.mOrthographicWidth > 0;
  // What Assimp calls half of the angle and of the width is the whole of the one and half of the other.
  camera.height = camera.orthographic ? 2 * source.mOrthographicWidth / aspect
                                      : 2 * std::atan(std::tan(source.mHorizontalFOV / 2) / aspect);
  Node node;
  node.parent = parent;
  node.camera = std::int32_t(m_Output.model.cameras.size());
  const aiVector3D axes[]{right, up, back, source.mPosition};
  for (std::size_t i = 0; i < 12; ++i) node.transform[i / 3 * 4 + i % 3] = double(axes[i / 3][unsigned(i % 3)]);
  m_Output.model.cameras.push_back(std::move(camera));
  m_Output.model.nodes.push_back(std::move(node));
}

void SceneConverter::convertAnimation(const aiAnimation& source) {
  Animation animation;
  animation.name = source.mName.C_Str();
  const double secondsPerTick = 1 / (source.mTicksPerSecond > 0 ? source.mTicksPerSecond : DefaultTicks);
  for (unsigned i = 0; i < source.mNumChannels; ++i) convertChannel(*source.mChannels[i], secondsPerTick, animation);
  for (unsigned i = 0; i < source.mNumMorphMeshChannels; ++i)
    convertMorph(*source.mMorphMeshChannels[i], secondsPerTick, animation);
  m_Output.model.animations.push_back(std::move(animation));
}

void SceneConverter::convertChannel(const aiNodeAnim& source, double secondsPerTick, Animation& animation) {
  const std::int32_t node = nodeNamed(source.mNodeName.C_Str());
  if (node == None) return;
  const auto putVector = [](const aiVectorKey& key, float* to) {
    for (unsigned axis = 0; axis < 3; ++axis) to[axis] = key.mValue[axis];
  };
  const auto putRotation = [](const aiQuatKey& key, float* to) {
    to[0] = key.mValue.x, to[1] = key.mValue.y, to[2] = key.mValue.z, to[3] = key.mValue.w;
  };
  animation.tracks.push_back(trackOf(node, Path::Translation, source.mPositionKeys, source.mNumPositionKeys, 3,
                                     secondsPerTick, putVector, m_Output));
  animation.tracks.push_back(trackOf(node, Path::Rotation, source.mRotationKeys, source.mNumRotationKeys, 4,
                                     secondsPerTick, putRotation, m_Output));
  animation.tracks.push_back(
      trackOf(node, Path::Scale, source.mScalingKeys, source.mNumScalingKeys, 3, secondsPerTick, putVector, m_Output));
}

void SceneConverter::convertMorph(const aiMeshMorphAnim& source, double secondsPerTick, Animation& animation) {
  // Some readers add the number of a mesh to the node's name.
  std::string name = source.mName.C_Str();
  std::int32_t node = nodeNamed(name.c_str());
  if (node == None) node = nodeNamed(name.substr(0, name.find_last_of('*')).c_str());
  if (node == None || m_Output.model.nodes[std::size_t(node)].instances.empty()) return;
  const std::int32_t mesh = m_Output.model.nodes[std::size_t(node)].instances[0].mesh;
  const std::size_t shapes = m_Output.model.meshes[std::size_t(mesh)].shapes.size();
  if (shapes == 0) return;
  const auto put = [shapes](const aiMeshMorphKey& key, float* to) {
    for (unsigned i = 0; i < key.mNumValuesAndWeights; ++i)
      if (key.mValues[i] < shapes) to[key.mValues[i]] = float(key.mWeights[i]);
  };
  animation.tracks.push_back(
      trackOf(node, Path::Weights, source.mKeys, source.mNumKeys, unsigned(shapes), secondsPerTick, put, m_Output));
}

}  // namespace nubo::reader
