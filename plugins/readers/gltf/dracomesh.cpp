#include "plugins/readers/gltf/dracomesh.h"

#include <draco/compression/decode.h>
#include <draco/mesh/mesh.h>

#include <algorithm>

namespace nubo::reader {

struct DracoMesh::Private {
  std::unique_ptr<draco::Mesh> mesh;
};

DracoMesh::DracoMesh(Accessors::Bytes bytes) : d(std::make_unique<Private>()) {
  draco::DecoderBuffer buffer;
  buffer.Init(reinterpret_cast<const char*>(bytes.data), bytes.size);
  auto decoded = draco::Decoder().DecodeMeshFromBuffer(&buffer);
  if (!decoded.ok()) throw Refusal("what Draco packed is damaged: %1", {decoded.status().error_msg_string()});
  d->mesh = std::move(decoded).value();
}

DracoMesh::~DracoMesh() = default;

std::size_t DracoMesh::vertexCount() const { return d->mesh->num_points(); }

std::vector<std::uint32_t> DracoMesh::indices() const {
  std::vector<std::uint32_t> indices;
  indices.reserve(std::size_t(d->mesh->num_faces()) * 3);
  for (std::uint32_t f = 0; f < d->mesh->num_faces(); ++f)
    for (int corner = 0; corner < 3; ++corner)
      indices.push_back(d->mesh->face(draco::FaceIndex(f))[std::size_t(corner)].value());
  return indices;
}

std::vector<double> DracoMesh::values(int number, const tinygltf::Accessor& accessor, int each, double missing) const {
  const draco::PointAttribute* attribute = d->mesh->GetAttributeByUniqueId(std::uint32_t(number));
  if (!attribute || attribute->num_components() > 16)
    throw Refusal("the file is damaged: it names what it does not have");
  const int there = std::min(each, int(attribute->num_components()));
  std::vector<double> result(vertexCount() * std::size_t(each), missing);
  const int type = accessor.componentType;
  const double greatest = !accessor.normalized                             ? 0
                          : type == TINYGLTF_COMPONENT_TYPE_UNSIGNED_BYTE  ? 255
                          : type == TINYGLTF_COMPONENT_TYPE_BYTE           ? 127
                          : type == TINYGLTF_COMPONENT_TYPE_UNSIGNED_SHORT ? 65535
                          : type == TINYGLTF_COMPONENT_TYPE_SHORT          ? 32767
                                                                           : 0;
  const bool isWhole = attribute->data_type() != draco::DT_FLOAT32 && attribute->data_type() != draco::DT_FLOAT64;
  for (std::uint32_t i = 0; i < vertexCount(); ++i) {
    const draco::AttributeValueIndex place = attribute->mapped_index(draco::PointIndex(i));
    float real[16]{};
    std::int64_t whole[16]{};
    if (isWhole)
      attribute->ConvertValue<std::int64_t>(place, attribute->num_components(), whole);
    else
      attribute->ConvertValue<float>(place, attribute->num_components(), real);
    for (int k = 0; k < there; ++k) {
      const double value = isWhole ? double(whole[k]) : double(real[k]);
      result[i * std::size_t(each) + std::size_t(k)] =
          isWhole && greatest > 0 ? std::max(value / greatest, -1.0) : value;
    }
  }
  return result;
}

}  // namespace nubo::reader
