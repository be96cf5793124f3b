// Makes a scene of what a reader has read.
#pragma once

#include <vector>

#include "module_scene/io/importer.h"
#include "module_scene/io/rigbuilder.h"
#include "module_scene/io/sharedblocks.h"
#include "module_scene/io/storednumbers.h"

namespace nubo::io {

/// Trusts nothing that the model says. Used once, on one thread.
class ModelBuilder {
 public:
  /// All must outlive the builder. What is done with is released from `blocks`; `stored` are those of the model's file.
  ModelBuilder(const reader::Model& model, SharedBlocks& blocks, StoredNumbers& stored, ImportResult& result)
      : m_Model(model), m_Blocks(blocks), m_Stored(stored), m_Result(result), m_Rig(model, blocks) {}
  /// Fills in the root, of that name, and the animations. Throws ImportError where there is nothing to show, and
  /// reader::BadRecord for what no reader should have handed over.
  /// `variant`: the name of the materials that are chosen, or empty.
  void build(const QString& name, const QString& variant);

  /// A file that belongs into an element.
  struct Part {
    util::YPointer<scene::SceneElement> element;
    QString file;
    util::YPointer<scene::Material> material;  ///< of what has none in the file; null: none
  };
  /// Those that the model names, once it is built.
  std::vector<Part> parts() const;

 private:
  void chooseMaterials(const QString& variant);
  void buildMeshes();
  util::YPointer<scene::Geometry> newGeometry(const reader::Mesh& mesh, std::int32_t material) const;
  void takeArrays(const reader::Mesh& mesh, scene::Geometry& geometry);
  void giveEdges();
  template <class T>
  std::vector<T> take(const reader::Array<T>& array, const reader::Stored& stored, std::uint64_t size);
  void buildNodes(scene::SceneElement& root);
  void setJoints();
  void addInstance(const reader::Node& node, const reader::Instance& instance,
                   const util::YPointer<scene::SceneElement>& element);
  void buildCameras();
  std::vector<bool> findSeen() const;

  const reader::Model& m_Model;
  SharedBlocks& m_Blocks;
  StoredNumbers& m_Stored;
  ImportResult& m_Result;
  RigBuilder m_Rig;
  bool m_Dropped = false;  ///< something was left out because of its coordinates
  std::vector<util::YPointer<scene::Material>> m_Materials;
  std::vector<std::int32_t> m_Chosen;                              ///< per mesh: which of these, or None
  std::vector<util::YPointer<scene::Geometry>> m_Geometries;       ///< per mesh; null: nothing to draw
  std::vector<util::YPointer<scene::Deformation>> m_Deformations;  ///< per mesh; null: nothing deforms it
  std::vector<util::YPointer<scene::SceneElement>> m_Elements;     ///< per node
};

}  // namespace nubo::io
