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
  /// Of a triangle: a material's number, or None and perhaps colours of its corners.
  struct Paint {
    std::int32_t material = None;
    std::optional<NMR::MODELMESH_TRIANGLECOLOR_SRGB> colors;
  };

  void add(NMR::PLib3MFBase* object, std::int32_t parent, const NMR::MODELTRANSFORM& place, int depth);
  const std::vector<std::int32_t>& meshesOf(NMR::PLib3MFBase* object, DWORD id);
  Array<float> positionsOf(NMR::PLib3MFBase* object);
  std::vector<Paint> paintsOf(NMR::PLib3MFBase* object, std::size_t triangles);
  Paint defaultPaint(NMR::PLib3MFBase* object);
  Mesh coloredMesh(const Array<float>& positions, const std::vector<NMR::MODELMESHTRIANGLE>& triangles,
                   const std::vector<Paint>& paints);
  std::int32_t materialOf(DWORD group, DWORD index);

  NMR::PLib3MFBase* const m_Model;
  Output& m_Output;
  float m_MetresPerUnit = 0.001f;
  std::map<DWORD, std::vector<std::int32_t>> m_Meshes;  ///< by the object's number
  std::map<std::pair<DWORD, DWORD>, std::int32_t> m_Materials;
};

}  // namespace nubo::reader
