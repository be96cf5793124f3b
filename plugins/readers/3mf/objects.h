// The objects of a 3MF file: meshes, and what is put together of others.
#pragma once

#include <map>
#include <optional>

#include "plugins/readers/3mf/package.h"

namespace nubo::reader {

/// Makes nodes of what is to be built. An object that occurs often has its meshes once.
class ObjectConverter {
 public:
  /// `model` must outlive it.
  ObjectConverter(NMR::PLib3MFBase* model, Output& output);

  void convert();

 private:
  /// Of a triangle: a material's number, or None; and what its corners have of their own.
  struct Paint {
    std::int32_t material = None;
    std::optional<NMR::MODELMESH_TRIANGLECOLOR_SRGB> colors;
    std::optional<NMR::MODELMESHTEXTURE2D> place;  ///< in the material's texture

    bool isOfCorners() const { return colors || place; }
  };
  using Triangles = std::vector<NMR::MODELMESHTRIANGLE>;

  void add(NMR::PLib3MFBase* object, std::int32_t parent, const NMR::MODELTRANSFORM& place, int depth);
  const std::vector<std::int32_t>& meshesOf(NMR::PLib3MFBase* object, DWORD id);
  Array<float> positionsOf(NMR::PLib3MFBase* object);
  std::vector<Paint> paintsOf(NMR::PLib3MFBase* object, std::size_t triangles);
  void paint(NMR::PLib3MFBase* properties, DWORD triangle, Paint& paint);
  Mesh cornersMesh(const Array<float>& positions, const Triangles& triangles, const std::vector<Paint>& paints,
                   const std::vector<std::size_t>& chosen);
  std::int32_t materialOf(DWORD group, DWORD index);
  std::int32_t texturedMaterial(DWORD texture);

  NMR::PLib3MFBase* const m_Model;
  Output& m_Output;
  float m_MetresPerUnit = 0.001f;
  std::map<DWORD, std::vector<std::int32_t>> m_Meshes;  ///< by the object's number
  std::map<std::pair<DWORD, DWORD>, std::int32_t> m_Materials;
  std::map<DWORD, std::int32_t> m_Textured;  ///< materials, by the texture's number
};

}  // namespace nubo::reader
