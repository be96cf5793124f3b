// Bones and shapes of what a reader has read, as the scene has them.
#pragma once

#include <vector>

#include "module_scene/graph/rig.h"
#include "module_scene/io/sharedblocks.h"

namespace nubo::io {

/// Throws reader::BadRecord for what no reader should have handed over, and ImportError for what is too much. Used
/// once, on one thread: first take() for each mesh, then use() for each use of one, then finish().
class RigBuilder {
 public:
  /// Both must outlive the builder.
  RigBuilder(const reader::Model& model, SharedBlocks& blocks) : m_Model(model), m_Blocks(blocks) {}

  static bool isDeformed(const reader::Mesh& mesh) { return mesh.influences > 0 || !mesh.shapes.empty(); }
  /// Takes what deforms the mesh; its geometry, not prepared yet, gets identities.
  util::YPointer<scene::Deformation> take(const reader::Mesh& mesh, scene::Geometry& geometry);
  /// What is to be added to the element for one use of that mesh: the prepared geometry or, where this use is deformed,
  /// a copy of it.
  util::YPointer<scene::Geometry> use(const reader::Instance& instance, const util::YPointer<scene::Geometry>& geometry,
                                      const util::YPointer<scene::Deformation>& deformation,
                                      const util::YPointer<scene::SceneElement>& element);
  /// Gives `owner`, below which all elements lie, its rig and brings that to where the bones are. `elements`: per node.
  void finish(scene::SceneElement& owner, const std::vector<util::YPointer<scene::SceneElement>>& elements);
  /// Per node whether it is a bone of what is used.
  const std::vector<bool>& bones() const { return m_Bones; }

 private:
  void takeBones(const reader::Mesh& mesh, std::size_t vertices, scene::Deformation& deformation);
  void takeShapes(const reader::Mesh& mesh, std::size_t vertices, scene::Deformation& deformation);
  template <class T>
  std::vector<T> take(const reader::Array<T>& array, std::size_t size);

  const reader::Model& m_Model;
  SharedBlocks& m_Blocks;
  std::vector<scene::DeformedMesh> m_Meshes;
  std::vector<std::int32_t> m_Skins;  ///< per deformed mesh: the model's skin, or None
  std::size_t m_Vertices = 0;         ///< of all deformed meshes
  std::vector<bool> m_Bones;
};

}  // namespace nubo::io
