// Materials and textures of what a reader has read, as the scene has them.
#pragma once

#include <map>
#include <vector>

#include "module_scene/graph/material.h"
#include "module_scene/io/sharedblocks.h"

namespace nubo::io {

/// Throws reader::BadRecord for what no reader should have handed over. Used once, on one thread.
class MaterialBuilder {
 public:
  /// Both must outlive the builder.
  MaterialBuilder(const reader::Model& model, SharedBlocks& blocks) : m_Model(model), m_Blocks(blocks) {}
  /// One per material of the model.
  std::vector<util::YPointer<scene::Material>> build();

 private:
  QImage buildImage(const reader::Image& image) const;
  /// `cutoff`: of alpha, null where it stays as it is.
  scene::TextureUse buildTexture(const reader::TextureUse& use, const float* cutoff);
  scene::PhysicalMaterial buildPhysical(const reader::PhysicalMaterial& source, const float* cutoff);
  util::YPointer<scene::Material> buildMaterial(const reader::Material& source);

  const reader::Model& m_Model;
  SharedBlocks& m_Blocks;
  std::vector<QImage> m_Images;
  std::map<std::pair<std::int32_t, float>, util::YPointer<scene::Texture>> m_Textures;  ///< by texture and cutoff
};

}  // namespace nubo::io
