// The tree of a glTF file, and what moves it.
#pragma once

#include "plugins/readers/gltf/meshes.h"

namespace nubo::reader {

/// Used once, after the meshes.
class Nodes {
 public:
  /// All must outlive this.
  Nodes(const tinygltf::Model& source, Accessors& accessors, const Meshes& meshes, Output& output)
      : m_Source(source), m_Accessors(accessors), m_Meshes(meshes), m_Output(output) {}
  /// Throws Refusal.
  void convert();

 private:
  std::vector<int> roots() const;
  void convertNode(int number, std::int32_t parent);
  void addInstances(const tinygltf::Node& source, Node& node, std::vector<Node>& copies);
  void convertSkins();
  void dropUnfitSkins();
  void convertCameras();
  void convertAnimations();

  const tinygltf::Model& m_Source;
  Accessors& m_Accessors;
  const Meshes& m_Meshes;
  Output& m_Output;
  std::vector<std::int32_t> m_Numbers;  ///< the model's node per node of the file
};

}  // namespace nubo::reader
