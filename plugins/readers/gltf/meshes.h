// Meshes of glTF files.
#pragma once

#include <vector>

#include "plugins/readers/gltf/accessors.h"

namespace nubo::reader {

/// Each primitive of the file becomes a mesh. Used once.
class Meshes {
 public:
  /// All must outlive this.
  Meshes(const tinygltf::Model& source, Accessors& accessors, Output& output)
      : m_Source(source), m_Accessors(accessors), m_Output(output) {}
  /// Materials must have been converted. Throws Refusal.
  void convert();
  /// The model's meshes that make up one of the file.
  const std::vector<std::int32_t>& partsOf(int mesh) const { return elementOf(m_Parts, mesh); }

 private:
  class Attributes;
  void convertPrimitive(const tinygltf::Mesh& mesh, const tinygltf::Primitive& source);
  void convertColors(const Attributes& attributes, Mesh& mesh);
  void convertInfluences(const Attributes& attributes, Mesh& mesh);
  void convertShapes(const tinygltf::Mesh& owner, const tinygltf::Primitive& source, Mesh& mesh);
  void collectVariants(const tinygltf::Primitive& source);

  const tinygltf::Model& m_Source;
  Accessors& m_Accessors;
  Output& m_Output;
  std::vector<std::vector<std::int32_t>> m_Parts;
};

}  // namespace nubo::reader
