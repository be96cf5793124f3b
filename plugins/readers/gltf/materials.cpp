#include "plugins/readers/gltf/materials.h"

#include <algorithm>
#include <cmath>

#include "plugins/readers/gltf/mending.h"

namespace nubo::reader {
namespace {

double numberOf(const tinygltf::Value& value, const char* key, double otherwise) {
  const tinygltf::Value& member = value.Get(key);
  return member.IsNumber() ? member.GetNumberAsDouble() : otherwise;
}

double numberAt(const tinygltf::Value& value, const char* key, int index, double otherwise) {
  const tinygltf::Value& list = value.Get(key);
  if (!list.IsArray() || index >= int(list.ArrayLen()) || !list.Get(index).IsNumber()) return otherwise;
  return list.Get(index).GetNumberAsDouble();
}

const tinygltf::Value* extensionOf(const tinygltf::ExtensionMap& extensions, const char* name) {
  const auto found = extensions.find(name);
  return found == extensions.end() ? nullptr : &found->second;
}

Image imageOf(const tinygltf::Image& source, Accessors& accessors, Output& output) {
  Image image;
  if (const double view = numberOf(source.extras, NoContent, None); view != None) {
    const Accessors::Bytes bytes = accessors.view(int(view));
    image.name = source.name;
    image.encoded = output.array<std::uint8_t>(bytes.size);
    std::copy_n(bytes.data, bytes.size, image.encoded.begin());
    return image;
  }
  image.name = source.name.empty() ? source.uri : source.name;
  image.encoded = output.array(source.image);
  image.file = source.uri;
  return image;
}

Wrap wrapOf(int mode) {
  if (mode == TINYGLTF_TEXTURE_WRAP_CLAMP_TO_EDGE) return Wrap::Clamp;
  return mode == TINYGLTF_TEXTURE_WRAP_MIRRORED_REPEAT ? Wrap::Mirror : Wrap::Repeat;
}

Texture textureOf(const tinygltf::Texture& source, const tinygltf::Model& model) {
  Texture texture;
  int image = source.source;
  if (const tinygltf::Value* webp = extensionOf(source.extensions, "EXT_texture_webp"))
    image = int(numberOf(*webp, "source", image));
  if (image >= 0 && std::size_t(image) < model.images.size()) texture.image = image;
  if (source.sampler < 0 || std::size_t(source.sampler) >= model.samplers.size()) return texture;
  const tinygltf::Sampler& sampler = model.samplers[std::size_t(source.sampler)];
  texture.across = wrapOf(sampler.wrapS);
  texture.up = wrapOf(sampler.wrapT);
  texture.smooth = sampler.magFilter != TINYGLTF_TEXTURE_FILTER_NEAREST;
  return texture;
}

/// In the file v counts downwards.
std::array<float, 6> transformOf(const tinygltf::Value& source) {
  const double turn = numberOf(source, "rotation", 0), c = std::cos(turn), s = std::sin(turn);
  const double x = numberAt(source, "offset", 0, 0), y = numberAt(source, "offset", 1, 0);
  const double width = numberAt(source, "scale", 0, 1), height = numberAt(source, "scale", 1, 1);
  const double a = c * width, b = s * height, d = -s * width, e = c * height;
  return {float(a), float(-b), float(x + b), float(-d), float(e), float(1 - e - y)};
}

template <class Info>
TextureUse useOf(const Info& source, const tinygltf::Model& model) {
  TextureUse use;
  if (source.index < 0 || std::size_t(source.index) >= model.textures.size()) return use;
  use.texture = source.index;
  use.coordinates = std::uint32_t(std::max(0, source.texCoord));
  if (const tinygltf::Value* transform = extensionOf(source.extensions, "KHR_texture_transform")) {
    use.transform = transformOf(*transform);
    use.coordinates = std::uint32_t(std::max(0.0, numberOf(*transform, "texCoord", use.coordinates)));
  }
  return use;
}

Material materialOf(const tinygltf::Material& source, const tinygltf::Model& model) {
  Material material;
  material.name = source.name;
  material.doubleSided = source.doubleSided;
  material.alphaCutoff = float(source.alphaCutoff);
  material.alphaMode = source.alphaMode == "BLEND"  ? AlphaMode::Blend
                       : source.alphaMode == "MASK" ? AlphaMode::Mask
                                                    : AlphaMode::Opaque;
  material.lit = !extensionOf(source.extensions, "KHR_materials_unlit");
  const tinygltf::PbrMetallicRoughness& pbr = source.pbrMetallicRoughness;
  PhysicalMaterial physical;
  for (std::size_t i = 0; i < 4 && i < pbr.baseColorFactor.size(); ++i)
    physical.baseColor[i] = i < 3 ? displayValue(pbr.baseColorFactor[i]) : float(pbr.baseColorFactor[i]);
  physical.metallic = float(pbr.metallicFactor);
  physical.roughness = float(pbr.roughnessFactor);
  physical.normalScale = float(source.normalTexture.scale);
  physical.occlusionStrength = float(source.occlusionTexture.strength);
  for (std::size_t i = 0; i < 3 && i < source.emissiveFactor.size(); ++i)
    physical.emissive[i] = displayValue(source.emissiveFactor[i]);
  if (const tinygltf::Value* strength = extensionOf(source.extensions, "KHR_materials_emissive_strength"))
    physical.emissiveStrength = float(numberOf(*strength, "emissiveStrength", 1));
  physical.baseColorTexture = useOf(pbr.baseColorTexture, model);
  physical.metallicRoughnessTexture = useOf(pbr.metallicRoughnessTexture, model);
  physical.normalTexture = useOf(source.normalTexture, model);
  physical.occlusionTexture = useOf(source.occlusionTexture, model);
  physical.emissiveTexture = useOf(source.emissiveTexture, model);
  material.physical = physical;
  return material;
}

}  // namespace

float displayValue(double linear) {
  const double value = std::clamp(linear, 0.0, 1.0);
  return float(value <= 0.0031308 ? value * 12.92 : 1.055 * std::pow(value, 1 / 2.4) - 0.055);
}

void convertMaterials(const tinygltf::Model& source, Accessors& accessors, Output& output) {
  for (const tinygltf::Image& image : source.images) output.model.images.push_back(imageOf(image, accessors, output));
  for (const tinygltf::Texture& texture : source.textures) output.model.textures.push_back(textureOf(texture, source));
  for (const tinygltf::Material& material : source.materials)
    output.model.materials.push_back(materialOf(material, source));
}

}  // namespace nubo::reader
