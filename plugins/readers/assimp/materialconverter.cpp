#include "plugins/readers/assimp/materialconverter.h"

#include <assimp/material.h>
#include <assimp/scene.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <tuple>

namespace nubo::reader {
namespace {

using Color = std::array<float, 4>;

/// The model's textures, each once.
class Textures {
 public:
  Textures(const aiScene& source, Model& model, Output& output) : m_Source(source), m_Model(model), m_Output(output) {}

  std::int32_t add(const aiString& path, Wrap across, Wrap up) {
    const auto key = std::make_tuple(std::string(path.C_Str()), across, up);
    const auto found = m_Textures.find(key);
    if (found != m_Textures.end()) return found->second;
    Texture texture;
    texture.image = image(path);
    texture.across = across;
    texture.up = up;
    m_Model.textures.push_back(texture);
    return m_Textures[key] = std::int32_t(m_Model.textures.size()) - 1;
  }

 private:
  std::int32_t image(const aiString& path) {
    const std::string name = path.C_Str();
    const auto found = m_Images.find(name);
    if (found != m_Images.end()) return found->second;
    Image image;
    image.name = name;
    if (const aiTexture* embedded = m_Source.GetEmbeddedTexture(path.C_Str()))
      setEmbedded(image, *embedded);
    else
      image.file = name;
    m_Model.images.push_back(std::move(image));
    return m_Images[name] = std::int32_t(m_Model.images.size()) - 1;
  }

  void setEmbedded(Image& image, const aiTexture& texture) {
    constexpr unsigned MaxSide = 16384;
    if (texture.mHeight == 0) {  // a file in memory of mWidth bytes
      image.encoded = m_Output.array<std::uint8_t>(texture.mWidth);
      if (texture.mWidth > 0) std::memcpy(image.encoded.data(), texture.pcData, texture.mWidth);
    } else if (texture.mWidth <= MaxSide && texture.mHeight <= MaxSide) {
      image.width = texture.mWidth;
      image.height = texture.mHeight;
      image.pixels = m_Output.array<std::uint8_t>(std::size_t(image.width) * image.height * 4);
      for (std::size_t i = 0; i < image.pixels.size() / 4; ++i) {
        const aiTexel& texel = texture.pcData[i];
        std::uint8_t* pixel = &image.pixels[i * 4];
        pixel[0] = texel.r, pixel[1] = texel.g, pixel[2] = texel.b, pixel[3] = texel.a;
      }
    }
  }

  const aiScene& m_Source;
  Model& m_Model;
  Output& m_Output;
  std::map<std::string, std::int32_t> m_Images;
  std::map<std::tuple<std::string, Wrap, Wrap>, std::int32_t> m_Textures;
};

class MaterialConverter {
 public:
  MaterialConverter(const aiMaterial& source, Textures& textures) : m_Source(source), m_Textures(textures) {}

  Material convert() {
    Material material;
    material.name = m_Source.GetName().C_Str();
    int shading = aiShadingMode_Gouraud;
    m_Source.Get(AI_MATKEY_SHADING_MODEL, shading);
    material.lit = shading != aiShadingMode_NoShading;
    if (!color(material.diffuse, AI_MATKEY_BASE_COLOR)) color(material.diffuse, AI_MATKEY_COLOR_DIFFUSE);
    // A material that is said to be wholly invisible was written by a program that meant the contrary.
    const float opacity = number(AI_MATKEY_OPACITY, 1);
    material.diffuse[3] = opacity > 0 ? opacity : 1.0f;
    setTexture(material);
    setHighlight(material);
    if (m_Source.GetTextureCount(aiTextureType_EMISSIVE) == 0)  // else only parts of it glow
      color(material.emissive, AI_MATKEY_COLOR_EMISSIVE);
    return material;
  }

 private:
  bool color(Color& result, const char* key, unsigned type, unsigned index) const {
    aiColor4D value(0, 0, 0, 1);
    if (m_Source.Get(key, type, index, value) != aiReturn_SUCCESS) return false;
    result = {value.r, value.g, value.b, value.a};
    return true;
  }
  float number(const char* key, unsigned type, unsigned index, float otherwise) const {
    ai_real value = 0;
    const bool there = m_Source.Get(key, type, index, value) == aiReturn_SUCCESS && std::isfinite(value);
    return there ? float(value) : otherwise;
  }

  void setTexture(Material& material) {
    // In files with this value a colour tints the texture; in the others the texture stands in its place.
    material.textureReplacesColor = number("$mat.illum", 0, 0, -1) < 0;
    for (const aiTextureType type : {aiTextureType_BASE_COLOR, aiTextureType_DIFFUSE}) {
      aiString path;
      if (m_Source.GetTexture(type, 0, &path) != aiReturn_SUCCESS || path.length == 0) continue;
      int across = aiTextureMapMode_Wrap, up = aiTextureMapMode_Wrap, flags = 0;
      m_Source.Get(AI_MATKEY_MAPPINGMODE_U(type, 0), across);
      m_Source.Get(AI_MATKEY_MAPPINGMODE_V(type, 0), up);
      m_Source.Get(AI_MATKEY_TEXFLAGS(type, 0), flags);
      if ((flags & aiTextureFlags_IgnoreAlpha) && material.diffuse[3] >= 1) material.alphaMode = AlphaMode::Opaque;
      material.texture.texture = m_Textures.add(path, wrapOf(across), wrapOf(up));
      return;
    }
  }

  static Wrap wrapOf(int mode) {
    if (mode == aiTextureMapMode_Wrap) return Wrap::Repeat;
    return mode == aiTextureMapMode_Mirror ? Wrap::Mirror : Wrap::Clamp;
  }

  void setHighlight(Material& material) const {
    const float metallic = number(AI_MATKEY_METALLIC_FACTOR, -1), roughness = number(AI_MATKEY_ROUGHNESS_FACTOR, -1);
    if (metallic >= 0 && roughness >= 0) return setPhysical(material, metallic, roughness);
    const float shininess = number(AI_MATKEY_SHININESS, 0);
    Color specular;
    if (shininess < 1 || !color(specular, AI_MATKEY_COLOR_SPECULAR)) return;  // 0 would be a highlight everywhere
    const float strength = std::clamp(number(AI_MATKEY_SHININESS_STRENGTH, 1), 0.0f, 1.0f);
    for (std::size_t i = 0; i < 3; ++i) material.specular[i] = specular[i] * strength;
    material.shininess = shininess;
  }

  static void setPhysical(Material& material, float metallic, float roughness) {
    PhysicalMaterial physical;
    physical.baseColor = material.diffuse;
    physical.metallic = metallic;
    physical.roughness = roughness;
    std::copy_n(material.emissive.begin(), 3, physical.emissive.begin());
    physical.baseColorTexture = material.texture;
    material.physical = physical;
  }

  const aiMaterial& m_Source;
  Textures& m_Textures;
};

}  // namespace

void convertMaterials(const aiScene& source, Model& model, Output& output) {
  Textures textures(source, model, output);
  for (unsigned i = 0; i < source.mNumMaterials; ++i)
    model.materials.push_back(MaterialConverter(*source.mMaterials[i], textures).convert());
}

}  // namespace nubo::reader
