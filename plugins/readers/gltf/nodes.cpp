#include "plugins/readers/gltf/nodes.h"

#include <algorithm>
#include <cmath>

namespace nubo::reader {
namespace {

/// By columns: translation * rotation (x y z w) * scale.
std::array<double, 16> placed(const std::array<double, 3>& t, const std::array<double, 4>& q,
                              const std::array<double, 3>& s) {
  const double length = std::sqrt(q[0] * q[0] + q[1] * q[1] + q[2] * q[2] + q[3] * q[3]);
  const double f = length > 0 ? 1 / length : 0;
  const double x = q[0] * f, y = q[1] * f, z = q[2] * f, w = length > 0 ? q[3] * f : 1;
  return {(1 - 2 * (y * y + z * z)) * s[0],
          2 * (x * y + z * w) * s[0],
          2 * (x * z - y * w) * s[0],
          0,
          2 * (x * y - z * w) * s[1],
          (1 - 2 * (x * x + z * z)) * s[1],
          2 * (y * z + x * w) * s[1],
          0,
          2 * (x * z + y * w) * s[2],
          2 * (y * z - x * w) * s[2],
          (1 - 2 * (x * x + y * y)) * s[2],
          0,
          t[0],
          t[1],
          t[2],
          1};
}

template <std::size_t N>
std::array<double, N> listed(const std::vector<double>& values, std::array<double, N> otherwise) {
  if (values.size() == N) std::copy(values.begin(), values.end(), otherwise.begin());
  return otherwise;
}

std::array<double, 16> transformOf(const tinygltf::Node& node) {
  if (node.matrix.size() == 16) return listed<16>(node.matrix, {});
  return placed(listed<3>(node.translation, {0, 0, 0}), listed<4>(node.rotation, {0, 0, 0, 1}),
                listed<3>(node.scale, {1, 1, 1}));
}

template <std::size_t N>
std::array<double, N> valueAt(const Array<float>& values, std::size_t i, std::array<double, N> otherwise) {
  if ((i + 1) * N <= values.size()) std::copy_n(values.begin() + i * N, N, otherwise.begin());
  return otherwise;
}

Interpolation interpolationOf(const std::string& name) {
  if (name == "STEP") return Interpolation::Step;
  return name == "CUBICSPLINE" ? Interpolation::Cubic : Interpolation::Linear;
}

}  // namespace

void Nodes::convert() {
  // In the file y is up.
  m_Output.model.upright = {1, 0, 0, 0, 0, 0, 1, 0, 0, -1, 0, 0, 0, 0, 0, 1};
  m_Numbers.assign(m_Source.nodes.size(), None);
  std::vector<std::pair<int, std::int32_t>> waiting;
  for (const int root : roots()) waiting.emplace_back(root, None);
  std::reverse(waiting.begin(), waiting.end());
  while (!waiting.empty()) {
    const auto [number, parent] = waiting.back();
    waiting.pop_back();
    const tinygltf::Node& node = elementOf(m_Source.nodes, number);
    if (m_Numbers[std::size_t(number)] != None) throw Refusal("the file is damaged: a node has two parents");
    convertNode(number, parent);
    for (std::size_t i = node.children.size(); i-- > 0;)
      waiting.emplace_back(node.children[i], m_Numbers[std::size_t(number)]);
  }
  convertSkins();
  convertCameras();
  convertAnimations();
}

/// Of the scene that is to be shown; where a file has none, all nodes that are no children.
std::vector<int> Nodes::roots() const {
  if (!m_Source.scenes.empty()) {
    const int shown = std::max(0, m_Source.defaultScene);
    return elementOf(m_Source.scenes, shown).nodes;
  }
  std::vector<bool> isChild(m_Source.nodes.size());
  for (const tinygltf::Node& node : m_Source.nodes)
    for (const int child : node.children)
      if (child >= 0 && std::size_t(child) < isChild.size()) isChild[std::size_t(child)] = true;
  std::vector<int> result;
  for (std::size_t i = 0; i < isChild.size(); ++i)
    if (!isChild[i]) result.push_back(int(i));
  return result;
}

void Nodes::convertNode(int number, std::int32_t parent) {
  const tinygltf::Node& source = m_Source.nodes[std::size_t(number)];
  Node node;
  node.name = source.name;
  node.parent = parent;
  node.transform = transformOf(source);
  if (source.camera >= 0 && std::size_t(source.camera) < m_Source.cameras.size()) node.camera = source.camera;
  for (const double weight : source.weights) node.shapeWeights.push_back(float(weight));
  std::vector<Node> copies;
  if (source.mesh >= 0) addInstances(source, node, copies);
  const auto own = std::int32_t(m_Output.model.nodes.size());
  m_Numbers[std::size_t(number)] = own;
  m_Output.model.nodes.push_back(std::move(node));
  for (Node& copy : copies) {
    copy.parent = own;
    m_Output.model.nodes.push_back(std::move(copy));
  }
}

/// The meshes of a node, or a node for each place where they are repeated.
void Nodes::addInstances(const tinygltf::Node& source, Node& node, std::vector<Node>& copies) {
  std::vector<Instance> instances;
  const bool hasSkin = source.skin >= 0 && std::size_t(source.skin) < m_Source.skins.size();
  for (const std::int32_t mesh : m_Meshes.partsOf(source.mesh))
    instances.push_back(
        {mesh, hasSkin && m_Output.model.meshes[std::size_t(mesh)].influences > 0 ? source.skin : None});
  const auto repeated = source.extensions.find("EXT_mesh_gpu_instancing");
  if (repeated == source.extensions.end()) {
    node.instances = std::move(instances);
    return;
  }
  const tinygltf::Value& attributes = repeated->second.Get("attributes");
  const auto values = [&](const char* name, int each) {
    const tinygltf::Value& accessor = attributes.Get(name);
    return accessor.IsNumber() ? m_Accessors.floats(int(accessor.GetNumberAsDouble()), each) : Array<float>();
  };
  const Array<float> places = values("TRANSLATION", 3), turns = values("ROTATION", 4), scales = values("SCALE", 3);
  const std::size_t count = std::max({places.size() / 3, turns.size() / 4, scales.size() / 3});
  for (std::size_t i = 0; i < count; ++i) {
    Node copy;
    copy.name = source.name;
    copy.transform =
        placed(valueAt<3>(places, i, {0, 0, 0}), valueAt<4>(turns, i, {0, 0, 0, 1}), valueAt<3>(scales, i, {1, 1, 1}));
    copy.instances = instances;
    copies.push_back(std::move(copy));
  }
}

void Nodes::convertSkins() {
  for (const tinygltf::Skin& source : m_Source.skins) {
    Skin skin;
    Array<float> matrices;
    if (source.inverseBindMatrices >= 0) matrices = m_Accessors.floats(source.inverseBindMatrices, 16);
    for (std::size_t i = 0; i < source.joints.size(); ++i) {
      Bone bone;
      bone.node = elementOf(m_Numbers, source.joints[i]);
      bone.toBone = valueAt<16>(matrices, i, bone.toBone);
      skin.bones.push_back(bone);
    }
    // Its bones may stand in a scene that is not shown.
    const bool isWhole =
        std::none_of(skin.bones.begin(), skin.bones.end(), [](const Bone& b) { return b.node == None; });
    m_Output.model.skins.push_back(isWhole ? std::move(skin) : Skin());
  }
  dropUnfitSkins();
}

/// Of which a mesh wants more bones than there are.
void Nodes::dropUnfitSkins() {
  std::vector<std::size_t> wanted;  // bones, per mesh
  for (const Mesh& mesh : m_Output.model.meshes) {
    const auto most = std::max_element(mesh.bones.begin(), mesh.bones.end());
    wanted.push_back(most == mesh.bones.end() ? 0 : std::size_t(*most) + 1);
  }
  for (Node& node : m_Output.model.nodes)
    for (Instance& instance : node.instances) {
      if (instance.skin == None) continue;
      if (wanted[std::size_t(instance.mesh)] <= m_Output.model.skins[std::size_t(instance.skin)].bones.size()) continue;
      m_Output.warning(text("a bone is missing, so that '%1' keeps its form", {node.name}));
      instance.skin = None;
    }
}

void Nodes::convertCameras() {
  for (const tinygltf::Camera& source : m_Source.cameras) {
    Camera camera;
    camera.name = source.name;
    camera.orthographic = source.type == "orthographic";
    camera.height = float(camera.orthographic ? 2 * source.orthographic.ymag : source.perspective.yfov);
    const double across = source.orthographic.xmag, up = source.orthographic.ymag;
    camera.aspect = float(!camera.orthographic ? source.perspective.aspectRatio : up > 0 ? across / up : 0);
    m_Output.model.cameras.push_back(camera);
  }
}

void Nodes::convertAnimations() {
  static constexpr std::pair<const char*, Path> Paths[]{{"translation", Path::Translation},
                                                        {"rotation", Path::Rotation},
                                                        {"scale", Path::Scale},
                                                        {"weights", Path::Weights}};
  for (const tinygltf::Animation& source : m_Source.animations) {
    Animation animation;
    animation.name = source.name;
    for (const tinygltf::AnimationChannel& channel : source.channels) {
      const auto path = std::find_if(std::begin(Paths), std::end(Paths),
                                     [&](const auto& known) { return channel.target_path == known.first; });
      const bool isKnown = channel.target_node >= 0 && std::size_t(channel.target_node) < m_Numbers.size();
      if (path == std::end(Paths) || !isKnown || m_Numbers[std::size_t(channel.target_node)] == None) continue;
      const tinygltf::AnimationSampler& sampler = elementOf(source.samplers, channel.sampler);
      Track track;
      track.node = m_Numbers[std::size_t(channel.target_node)];
      track.path = path->second;
      track.interpolation = interpolationOf(sampler.interpolation);
      track.times = m_Accessors.floats(sampler.input, 1);
      const int each = track.path == Path::Rotation ? 4 : track.path == Path::Weights ? 1 : 3;
      track.values = m_Accessors.floats(sampler.output, each);
      animation.tracks.push_back(track);
    }
    m_Output.model.animations.push_back(std::move(animation));
  }
}

}  // namespace nubo::reader
