#include "plugins/readers/assimp/colladashapes.h"

#include <assimp/scene.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <sstream>
#include <utility>

namespace nubo::reader {
namespace {

/// A node that is used with a morph, and where its shapes are found.
struct Use {
  const aiNode* node;
  std::size_t morph;
};

/// The mesh in another form, in memory that Assimp frees.
aiAnimMesh* changedMesh(const aiMesh& base, const aiMesh& target, const ColladaShape& shape) {
  const unsigned count = base.mNumVertices;
  auto* changed = new aiAnimMesh;
  changed->mName = shape.name;
  changed->mWeight = shape.weight;
  changed->mNumVertices = count;
  changed->mVertices = new aiVector3D[count];
  for (unsigned v = 0; v < count; ++v)
    changed->mVertices[v] = shape.isRelative ? base.mVertices[v] + target.mVertices[v] : target.mVertices[v];
  if (shape.isRelative || !base.mNormals || !target.mNormals) return changed;
  changed->mNormals = new aiVector3D[count];
  std::copy_n(target.mNormals, count, changed->mNormals);
  return changed;
}

/// Adds to an array of Assimp's, which frees what it holds.
template <class Item>
void append(Item**& array, unsigned& count, Item* item) {
  auto** longer = new Item*[count + 1];
  std::copy_n(array, count, longer);
  longer[count++] = item;
  delete[] std::exchange(array, longer);
}

float weightAt(const ColladaCurve& curve, float time) {
  const auto next = std::size_t(std::upper_bound(curve.times.begin(), curve.times.end(), time) - curve.times.begin());
  if (next == 0 || next == curve.times.size()) return curve.weights[next == 0 ? 0 : next - 1];
  const float before = curve.times[next - 1], share = (time - before) / (curve.times[next] - before);
  return curve.weights[next - 1] + share * (curve.weights[next] - curve.weights[next - 1]);
}

/// The times at which any of the weights bends.
std::vector<float> timesOf(const ColladaMorph& morph) {
  std::vector<float> times;
  for (const ColladaCurve& curve : morph.curves) times.insert(times.end(), curve.times.begin(), curve.times.end());
  std::sort(times.begin(), times.end());
  times.erase(std::unique(times.begin(), times.end()), times.end());
  return times;
}

aiMeshMorphAnim* channelOf(const ColladaMorph& morph, const aiString& node, double ticksPerSecond) {
  const std::vector<float> times = timesOf(morph);
  const auto shapes = unsigned(morph.shapes.size());
  auto* channel = new aiMeshMorphAnim;
  channel->mName = node;
  channel->mNumKeys = unsigned(times.size());
  channel->mKeys = new aiMeshMorphKey[times.size()];
  for (std::size_t k = 0; k < times.size(); ++k) {
    aiMeshMorphKey& key = channel->mKeys[k];
    key.mTime = double(times[k]) * ticksPerSecond;
    key.mNumValuesAndWeights = shapes;
    key.mValues = new unsigned[shapes];
    key.mWeights = new double[shapes];
    for (unsigned s = 0; s < shapes; ++s) {
      key.mValues[s] = s;
      key.mWeights[s] = double(morph.shapes[s].weight);
    }
    for (const ColladaCurve& curve : morph.curves) key.mWeights[curve.shape] = double(weightAt(curve, times[k]));
  }
  return channel;
}

class Taker {
 public:
  Taker(const ColladaDocument& document, aiScene& scene) : m_Document(document), m_Scene(scene) {}

  void take() {
    if (m_Document.morphs.empty()) return;
    take(*m_Scene.mRootNode);
    for (const Use& use : m_Uses)
      if (!m_Document.morphs[use.morph].curves.empty()) addChannel(use);
  }

 private:
  /// Children that hold shapes stand in their order behind all others.
  void take(aiNode& node) {
    unsigned kept = 0;
    for (unsigned i = 0; i < node.mNumChildren; ++i) {
      aiNode* child = node.mChildren[i];
      if (std::strncmp(child->mName.C_Str(), ShapeNode, std::strlen(ShapeNode)) != 0) {
        take(*child);
        node.mChildren[kept++] = child;
        continue;
      }
      std::istringstream numbers(child->mName.C_Str() + std::strlen(ShapeNode));
      std::size_t morph = 0, shape = 0;
      if (numbers >> morph >> shape && morph < m_Document.morphs.size() &&
          shape < m_Document.morphs[morph].shapes.size())
        addShape(node, *child, morph, shape);
      delete child;
    }
    node.mNumChildren = kept;
  }

  void addShape(const aiNode& node, const aiNode& child, std::size_t morph, std::size_t shape) {
    for (unsigned i = 0; i < std::min(node.mNumMeshes, child.mNumMeshes); ++i) {
      aiMesh &base = *m_Scene.mMeshes[node.mMeshes[i]], &target = *m_Scene.mMeshes[child.mMeshes[i]];
      // One that several nodes use has its shapes from the first.
      if (base.mNumAnimMeshes != shape || base.mNumVertices != target.mNumVertices) continue;
      append(base.mAnimMeshes, base.mNumAnimMeshes, changedMesh(base, target, m_Document.morphs[morph].shapes[shape]));
      delete[] std::exchange(target.mFaces, nullptr);
      target.mNumFaces = 0;
    }
    if (shape == 0) m_Uses.push_back({&node, morph});
  }

  void addChannel(const Use& use) {
    if (m_Scene.mNumAnimations == 0) {
      auto* animation = new aiAnimation;
      animation->mTicksPerSecond = 1;
      append(m_Scene.mAnimations, m_Scene.mNumAnimations, animation);
    }
    aiAnimation& animation = *m_Scene.mAnimations[0];
    append(animation.mMorphMeshChannels, animation.mNumMorphMeshChannels,
           channelOf(m_Document.morphs[use.morph], use.node->mName, animation.mTicksPerSecond));
  }

  const ColladaDocument& m_Document;
  aiScene& m_Scene;
  std::vector<Use> m_Uses;
};

}  // namespace

void takeColladaShapes(const ColladaDocument& document, aiScene& scene) { Taker(document, scene).take(); }

}  // namespace nubo::reader
