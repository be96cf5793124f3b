// Turns what Assimp read into plain data.
#pragma once

#include <map>

#include "module_scene/io/reader/reader.h"

struct aiAnimation;
struct aiCamera;
struct aiMesh;
struct aiNode;
struct aiNodeAnim;
struct aiMeshMorphAnim;
struct aiScene;

namespace nubo::reader {

/// Used once.
class SceneConverter {
 public:
  /// All must outlive the converter.
  SceneConverter(const aiScene& source, const std::string& format, Output& output)
      : m_Source(source), m_Format(format), m_Output(output) {}
  /// Throws Refusal.
  void convert();

 private:
  void convertMesh(const aiMesh& source);
  void convertColors(const aiMesh& source, Mesh& mesh);
  void convertShapes(const aiMesh& source, Mesh& mesh);
  void convertBones(const aiMesh& source, Mesh& mesh);
  void convertNodes();
  void convertSkins();
  void convertCamera(const aiCamera& source);
  void convertAnimation(const aiAnimation& source);
  void convertChannel(const aiNodeAnim& source, double secondsPerTick, Animation& animation);
  void convertMorph(const aiMeshMorphAnim& source, double secondsPerTick, Animation& animation);
  std::int32_t nodeNamed(const char* name) const;

  const aiScene& m_Source;
  const std::string m_Format;
  Output& m_Output;
  std::map<std::string, std::int32_t> m_Nodes;  ///< by name
};

}  // namespace nubo::reader
