#include "plugins/readers/gltf/meshes.h"

#include <algorithm>
#include <cmath>
#include <optional>

#include "plugins/readers/gltf/dracomesh.h"
#include "plugins/readers/gltf/materials.h"

namespace nubo::reader {
namespace {

constexpr float PointSize = 2.0f;  // pixels

/// Turns strips, fans and loops into single lines and triangles.
Array<std::uint32_t> singles(const Array<std::uint32_t>& in, int mode, Output& output) {
  std::vector<std::uint32_t> out;
  const std::size_t n = in.size();
  const auto add = [&](std::initializer_list<std::size_t> places) {
    for (const std::size_t place : places) out.push_back(in[place]);
  };
  switch (mode) {
    case TINYGLTF_MODE_LINE_STRIP:
    case TINYGLTF_MODE_LINE_LOOP:
      for (std::size_t i = 1; i < n; ++i) add({i - 1, i});
      if (mode == TINYGLTF_MODE_LINE_LOOP && n > 2) add({n - 1, 0});
      return output.array(out);
    case TINYGLTF_MODE_TRIANGLE_STRIP:
      for (std::size_t i = 2; i < n; ++i) i % 2 == 0 ? add({i - 2, i - 1, i}) : add({i - 1, i - 2, i});
      return output.array(out);
    case TINYGLTF_MODE_TRIANGLE_FAN:
      for (std::size_t i = 2; i < n; ++i) add({0, i - 1, i});
      return output.array(out);
    default:
      return in;
  }
}

/// Leaves out primitives that name vertices which are not there, and what is left over at the end.
void dropBroken(Array<std::uint32_t>& indices, std::size_t corners, std::size_t vertices) {
  std::size_t kept = 0;
  for (std::size_t i = 0; i + corners <= indices.size(); i += corners) {
    const std::uint32_t *first = indices.begin() + i, *last = first + corners;
    if (!std::all_of(first, last, [vertices](std::uint32_t index) { return index < vertices; })) continue;
    std::copy(first, last, indices.begin() + kept);
    kept += corners;
  }
  indices.shrink(kept);
}

Primitive primitiveOf(int mode) {
  if (mode == TINYGLTF_MODE_POINTS) return Primitive::Points;
  return mode < TINYGLTF_MODE_TRIANGLES ? Primitive::Lines : Primitive::Triangles;
}

}  // namespace

/// The attributes of a primitive, packed by Draco or not.
class Meshes::Attributes {
 public:
  Attributes(const tinygltf::Model& source, const tinygltf::Primitive& primitive, Accessors& accessors, Output& output)
      : m_Source(source), m_Primitive(primitive), m_Accessors(accessors), m_Output(output) {
    const auto packed = primitive.extensions.find("KHR_draco_mesh_compression");
    if (packed == primitive.extensions.end()) return;
    m_Numbers = packed->second.Get("attributes");
    const tinygltf::Value& view = packed->second.Get("bufferView");
    m_Draco.emplace(accessors.view(view.IsNumber() ? int(view.GetNumberAsDouble()) : -1));
  }

  bool has(const std::string& name) const { return m_Primitive.attributes.count(name) > 0; }
  /// Where three numbers each are in the file; nothing where the numbers are needed here.
  Stored stored(const std::string& name) const { return stays() ? storedAt(name) : Stored(); }
  Stored storedIndices() const {
    return stays() && m_Primitive.indices >= 0 ? m_Accessors.storedIndices(m_Primitive.indices) : Stored();
  }
  Array<float> floats(const std::string& name, int each, float missing = 0) const {
    const auto found = m_Primitive.attributes.find(name);
    if (found == m_Primitive.attributes.end()) return {};
    if (!m_Draco || !m_Numbers.Has(name)) return m_Accessors.floats(found->second, each, missing);
    const std::vector<double> values = m_Draco->values(int(m_Numbers.Get(name).GetNumberAsDouble()),
                                                       elementOf(m_Source.accessors, found->second), each, missing);
    const Array<float> result = m_Output.array<float>(values.size());
    std::transform(values.begin(), values.end(), result.begin(), [](double value) { return float(value); });
    return result;
  }
  Array<std::uint32_t> indices(std::size_t vertices) const {
    if (m_Draco) return m_Output.array(m_Draco->indices());
    if (m_Primitive.indices >= 0) return m_Accessors.integers(m_Primitive.indices);
    const Array<std::uint32_t> all = m_Output.array<std::uint32_t>(vertices);
    for (std::size_t i = 0; i < vertices; ++i) all[i] = std::uint32_t(i);
    return all;
  }

 private:
  /// Whether neither bones nor shapes move it, and it has no strips to be taken apart.
  bool stays() const {
    const bool isSingle = m_Primitive.mode < 0 || m_Primitive.mode == TINYGLTF_MODE_POINTS ||
                          m_Primitive.mode == TINYGLTF_MODE_LINE || m_Primitive.mode == TINYGLTF_MODE_TRIANGLES;
    return !m_Draco && isSingle && m_Primitive.targets.empty() && !has("JOINTS_0");
  }
  Stored storedAt(const std::string& name) const {
    const auto found = m_Primitive.attributes.find(name);
    return found == m_Primitive.attributes.end() ? Stored()
                                                 : m_Accessors.stored(found->second, 3, TINYGLTF_COMPONENT_TYPE_FLOAT);
  }

  const tinygltf::Model& m_Source;
  const tinygltf::Primitive& m_Primitive;
  Accessors& m_Accessors;
  Output& m_Output;
  std::optional<DracoMesh> m_Draco;
  tinygltf::Value m_Numbers;  ///< of Draco's attributes
};

void Meshes::convert() {
  if (const auto found = m_Source.extensions.find("KHR_materials_variants"); found != m_Source.extensions.end()) {
    const tinygltf::Value& variants = found->second.Get("variants");
    for (std::size_t i = 0; variants.IsArray() && i < variants.ArrayLen(); ++i) {
      const tinygltf::Value& name = variants.Get(int(i)).Get("name");
      m_Output.model.variants.push_back({name.IsString() ? name.Get<std::string>() : std::string(), {}});
    }
  }
  for (const tinygltf::Mesh& mesh : m_Source.meshes) {
    m_Parts.emplace_back();
    for (const tinygltf::Primitive& primitive : mesh.primitives) {
      const std::size_t before = m_Output.model.meshes.size();
      convertPrimitive(mesh, primitive);
      if (m_Output.model.meshes.size() > before) m_Parts.back().push_back(std::int32_t(before));
    }
    m_Output.progress(double(m_Parts.size()) / double(m_Source.meshes.size()));
  }
}

void Meshes::convertPrimitive(const tinygltf::Mesh& owner, const tinygltf::Primitive& source) {
  const Attributes attributes(m_Source, source, m_Accessors, m_Output);
  if (!attributes.has("POSITION")) return;
  const int mode = source.mode < 0 ? TINYGLTF_MODE_TRIANGLES : source.mode;
  Mesh mesh;
  mesh.primitive = primitiveOf(mode);
  if (mesh.primitive == Primitive::Points) mesh.width = PointSize;
  if (source.material >= 0 && std::size_t(source.material) < m_Source.materials.size()) mesh.material = source.material;
  mesh.storedPositions = attributes.stored("POSITION");
  mesh.storedNormals = attributes.stored("NORMAL");
  mesh.storedIndices = attributes.storedIndices();
  if (mesh.storedPositions.count == 0) mesh.positions = attributes.floats("POSITION", 3);
  if (mesh.storedNormals.count == 0) mesh.normals = attributes.floats("NORMAL", 3);
  const std::size_t vertices = std::max(mesh.positions.size(), std::size_t(mesh.storedPositions.count)) / 3;
  mesh.texCoords = attributes.floats("TEXCOORD_0", 2);
  mesh.secondTexCoords = attributes.floats("TEXCOORD_1", 2);
  for (const Array<float>& coordinates : {mesh.texCoords, mesh.secondTexCoords})
    for (std::size_t i = 1; i < coordinates.size(); i += 2) coordinates[i] = 1 - coordinates[i];
  convertColors(attributes, mesh);
  if (mesh.storedIndices.count == 0) {
    mesh.indices = singles(attributes.indices(vertices), mode, m_Output);
    dropBroken(mesh.indices, std::size_t(mesh.primitive) + 1, vertices);
  }
  convertInfluences(attributes, mesh);
  convertShapes(owner, source, mesh);
  m_Output.model.meshes.push_back(std::move(mesh));
  collectVariants(source);
}

/// Colours multiply the material's; in a model they stand in its place.
void Meshes::convertColors(const Attributes& attributes, Mesh& mesh) {
  const Array<float> colors = attributes.floats("COLOR_0", 4, 1);
  std::array<double, 4> factor{1, 1, 1, 1};
  if (mesh.material != None) {
    const auto& base = m_Source.materials[std::size_t(mesh.material)].pbrMetallicRoughness.baseColorFactor;
    std::copy_n(base.begin(), std::min<std::size_t>(base.size(), 4), factor.begin());
  }
  mesh.colors = m_Output.array<std::uint8_t>(colors.size());
  for (std::size_t i = 0; i < colors.size(); ++i) {
    const double value = (std::isfinite(colors[i]) ? double(colors[i]) : 1) * factor[i % 4];
    const double shown = i % 4 < 3 ? double(displayValue(value)) : std::clamp(value, 0.0, 1.0);
    mesh.colors[i] = std::uint8_t(std::lround(shown * 255));
  }
}

void Meshes::convertInfluences(const Attributes& attributes, Mesh& mesh) {
  constexpr std::size_t PerSet = 4;
  const std::size_t vertices = mesh.positions.size() / 3;
  std::vector<std::pair<Array<float>, Array<float>>> sets;
  for (int set = 0; attributes.has("JOINTS_" + std::to_string(set)); ++set) {
    sets.emplace_back(attributes.floats("JOINTS_" + std::to_string(set), 4),
                      attributes.floats("WEIGHTS_" + std::to_string(set), 4));
    if (sets.back().first.size() != vertices * PerSet || sets.back().second.size() != vertices * PerSet) return;
  }
  mesh.influences = std::uint32_t(sets.size() * PerSet);
  mesh.bones = m_Output.array<std::uint16_t>(vertices * mesh.influences);
  mesh.boneWeights = m_Output.array<float>(vertices * mesh.influences);
  for (std::size_t v = 0; v < vertices; ++v)
    for (std::size_t k = 0; k < mesh.influences; ++k) {
      const auto& [bones, weights] = sets[k / PerSet];
      mesh.bones[v * mesh.influences + k] = std::uint16_t(std::clamp(bones[v * PerSet + k % PerSet], 0.0f, 65535.0f));
      mesh.boneWeights[v * mesh.influences + k] = weights[v * PerSet + k % PerSet];
    }
}

void Meshes::convertShapes(const tinygltf::Mesh& owner, const tinygltf::Primitive& source, Mesh& mesh) {
  for (std::size_t i = 0; i < source.targets.size(); ++i) {
    Shape shape;
    const auto differences = [&](const char* attribute) {
      const auto found = source.targets[i].find(attribute);
      return found == source.targets[i].end() ? Array<float>() : m_Accessors.floats(found->second, 3);
    };
    shape.positions = differences("POSITION");
    shape.normals = differences("NORMAL");
    // The numbers of the others must stay as they are.
    if (shape.positions.size() != mesh.positions.size()) shape.positions = m_Output.array<float>(mesh.positions.size());
    if (shape.normals.size() != mesh.positions.size()) shape.normals = {};
    mesh.shapes.push_back(shape);
    mesh.shapeWeights.push_back(i < owner.weights.size() ? float(owner.weights[i]) : 0);
  }
}

void Meshes::collectVariants(const tinygltf::Primitive& source) {
  const auto found = source.extensions.find("KHR_materials_variants");
  if (found == source.extensions.end()) return;
  const tinygltf::Value& mappings = found->second.Get("mappings");
  for (std::size_t i = 0; mappings.IsArray() && i < mappings.ArrayLen(); ++i) {
    const tinygltf::Value& mapping = mappings.Get(int(i));
    const tinygltf::Value& variants = mapping.Get("variants");
    for (std::size_t k = 0; variants.IsArray() && k < variants.ArrayLen(); ++k) {
      const double variant = variants.Get(int(k)).GetNumberAsDouble(),
                   material = mapping.Get("material").GetNumberAsDouble();
      if (variant >= 0 && variant < double(m_Output.model.variants.size()) && material >= 0 &&
          material < double(m_Source.materials.size()))
        m_Output.model.variants[std::size_t(variant)].uses.push_back(
            {std::int32_t(m_Output.model.meshes.size()) - 1, std::int32_t(material)});
    }
  }
}

}  // namespace nubo::reader
