// Meshes that Draco has packed.
#pragma once

#include <memory>

#include "plugins/readers/gltf/accessors.h"

namespace nubo::reader {

/// One packed primitive.
class DracoMesh {
 public:
  /// Throws Refusal where the bytes are damaged.
  explicit DracoMesh(Accessors::Bytes bytes);
  ~DracoMesh();

  std::size_t vertexCount() const;
  std::vector<std::uint32_t> indices() const;
  /// `each` numbers per vertex of the attribute with that number, as a glTF accessor says they are; those that it lacks
  /// are `missing`.
  std::vector<double> values(int attribute, const tinygltf::Accessor& accessor, int each, double missing) const;

 private:
  struct Private;
  const std::unique_ptr<Private> d;
};

}  // namespace nubo::reader
