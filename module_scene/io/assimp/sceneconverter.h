// Turns what Assimp read into elements, geometries and animations.
#pragma once

#include <QHash>
#include <QSet>
#include <vector>

#include "module_scene/io/assimp/textureloader.h"
#include "module_scene/io/importer.h"

struct aiAnimation;
struct aiMesh;
struct aiNode;
struct aiNodeAnim;

namespace nubo::io {

/// Used once.
class SceneConverter {
 public:
  /// Both must outlive the converter.
  SceneConverter(const QString& fileName, const aiScene& source, ImportResult& result);
  /// `upright` turns the source so that x points to the right, and z up. `linearColors`: see convertMaterial. Throws
  /// ImportError.
  void convert(const math::Matrix4& upright, bool linearColors);

 private:
  void convertMaterials();
  void convertMeshes();
  util::YPointer<scene::Geometry> convertMesh(const aiMesh& mesh) const;
  void convertColors(const aiMesh& mesh, scene::Geometry& geometry) const;
  util::YPointer<scene::SceneElement> convertNode(const aiNode& node, int depth);
  void convertAnimations();
  scene::Animation convertAnimation(const aiAnimation& animation, QSet<scene::SceneElement*>& moved);
  scene::AnimationTrack convertTrack(const aiNodeAnim& channel, const aiNode& node, double secondsPerTick) const;

  const QString m_FileName;
  const aiScene& m_Source;
  ImportResult& m_Result;
  bool m_LinearColors = false;
  bool m_Dropped = false;  ///< something was left out because of its coordinates
  TextureLoader m_Textures;
  std::vector<util::YPointer<scene::Material>> m_Materials;
  std::vector<util::YPointer<scene::Geometry>> m_Geometries;  ///< per mesh; null: nothing to draw
  struct Named {
    util::YPointer<scene::SceneElement> element;
    const aiNode* node;
  };
  QHash<QByteArray, Named> m_Elements;
};

}  // namespace nubo::io
