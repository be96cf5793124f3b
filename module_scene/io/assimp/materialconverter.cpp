#include "module_scene/io/assimp/materialconverter.h"

#include <assimp/GltfMaterial.h>
#include <assimp/material.h>

#include <algorithm>
#include <cmath>
#include <optional>

#include "module_scene/io/assimp/textureloader.h"

namespace nubo::io {
namespace {

using Color = std::array<float, 4>;

float unit(float value) { return std::isfinite(value) ? std::clamp(value, 0.0f, 1.0f) : 0.0f; }

class MaterialConverter {
 public:
  MaterialConverter(const aiMaterial& source, bool linear, TextureLoader& textures)
      : m_Source(source), m_Linear(linear), m_Textures(textures) {}

  util::YPointer<scene::Material> convert() {
    util::YPointer<scene::Material> material(new scene::Material);
    material->name = QString::fromUtf8(m_Source.GetName().C_Str());
    material->lit = isLit();
    const bool textured = setTexture(*material);
    if (const auto base = color(AI_MATKEY_BASE_COLOR))
      material->diffuse = *base;
    else if (const auto diffuse = color(AI_MATKEY_COLOR_DIFFUSE))
      material->diffuse = *diffuse;
    if (textured && !multipliesTexture()) std::fill_n(material->diffuse.begin(), 3, 1.0f);
    setOpacity(*material);
    setHighlight(*material);
    if (m_Source.GetTextureCount(aiTextureType_EMISSIVE) == 0)  // else only parts of it glow
      if (const auto emissive = color(AI_MATKEY_COLOR_EMISSIVE)) material->emissive = *emissive;
    material->emissive[3] = material->specular[3] = 1.0f;
    return material;
  }

 private:
  std::optional<Color> color(const char* key, unsigned type, unsigned index) const {
    aiColor4D value(0, 0, 0, 1);
    if (m_Source.Get(key, type, index, value) != aiReturn_SUCCESS) return std::nullopt;
    Color result{unit(value.r), unit(value.g), unit(value.b), unit(value.a)};
    for (int i = 0; i < 3 && m_Linear; ++i) result[i] = displayValue(result[i]);
    return result;
  }
  std::optional<float> number(const char* key, unsigned type, unsigned index) const {
    ai_real value = 0;
    if (m_Source.Get(key, type, index, value) != aiReturn_SUCCESS || !std::isfinite(value)) return std::nullopt;
    return float(value);
  }

  bool isLit() const {
    int shading = aiShadingMode_Gouraud;
    m_Source.Get(AI_MATKEY_SHADING_MODEL, shading);
    return shading != aiShadingMode_NoShading;
  }

  /// In these formats a colour tints the texture; in the others the texture stands in its place.
  bool multipliesTexture() const { return m_Linear || number("$mat.illum", 0, 0).has_value(); }

  AlphaUse alphaUse() const {
    aiString mode;
    if (m_Source.Get(AI_MATKEY_GLTF_ALPHAMODE, mode) != aiReturn_SUCCESS) return {};
    if (mode == aiString("OPAQUE")) return {AlphaUse::Opaque};
    if (mode == aiString("MASK")) return {AlphaUse::Cutoff, number(AI_MATKEY_GLTF_ALPHACUTOFF).value_or(0.5f)};
    return {};
  }

  bool setTexture(scene::Material& material) {
    for (const aiTextureType type : {aiTextureType_BASE_COLOR, aiTextureType_DIFFUSE}) {
      aiString path;
      if (m_Source.GetTexture(type, 0, &path) != aiReturn_SUCCESS || path.length == 0) continue;
      int mode = aiTextureMapMode_Wrap, flags = 0;
      m_Source.Get(AI_MATKEY_MAPPINGMODE_U(type, 0), mode);
      m_Source.Get(AI_MATKEY_TEXFLAGS(type, 0), flags);
      AlphaUse alpha = alphaUse();
      if (flags & aiTextureFlags_IgnoreAlpha) alpha.mode = AlphaUse::Opaque;
      const bool repeat = mode == aiTextureMapMode_Wrap || mode == aiTextureMapMode_Mirror;
      material.texture = m_Textures.load(QString::fromUtf8(path.C_Str()), repeat, alpha);
      return bool(material.texture);
    }
    return false;
  }

  void setOpacity(scene::Material& material) const {
    float& alpha = material.diffuse[3];
    const AlphaUse use = alphaUse();
    if (use.mode != AlphaUse::AsIs) {
      alpha = use.mode == AlphaUse::Opaque || alpha >= use.cutoff ? 1.0f : 0.0f;
      return;
    }
    // A material that is said to be wholly invisible was written by a program that meant the contrary.
    const float opacity = unit(number(AI_MATKEY_OPACITY).value_or(1.0f));
    if (!m_Linear) alpha = opacity > 0 ? opacity : 1.0f;
  }

  void setHighlight(scene::Material& material) const {
    const auto metallic = number(AI_MATKEY_METALLIC_FACTOR);
    const auto roughness = number(AI_MATKEY_ROUGHNESS_FACTOR);
    if (metallic && roughness)
      setPhysicalHighlight(material, unit(*metallic), unit(*roughness));
    else
      setClassicHighlight(material);
  }

  /// Metal reflects its own colour and what surrounds it; without surroundings it keeps half its diffuse
  /// light, so as not to be black. Rough surfaces spread the highlight until nothing is seen of it.
  static void setPhysicalHighlight(scene::Material& material, float metallic, float roughness) {
    const float gloss = (1 - roughness) * (1 - roughness);
    for (int i = 0; i < 3; ++i) {
      const float base = material.diffuse[i];
      material.specular[i] = gloss * (0.2f + metallic * (base - 0.2f));
      if (!material.texture) material.diffuse[i] = base * (1 - 0.5f * metallic * gloss);
    }
    const float r2 = std::max(roughness * roughness, 0.1f);
    material.shininess = std::clamp(2 / (r2 * r2) - 2, 0.0f, 128.0f);
  }

  void setClassicHighlight(scene::Material& material) const {
    const float shininess = number(AI_MATKEY_SHININESS).value_or(0.0f);
    const auto specular = color(AI_MATKEY_COLOR_SPECULAR);
    if (!specular || shininess < 1) return;  // an exponent of 0 would be a highlight everywhere
    const float strength = unit(number(AI_MATKEY_SHININESS_STRENGTH).value_or(1.0f));
    for (int i = 0; i < 3; ++i) material.specular[i] = (*specular)[i] * strength;
    material.shininess = std::min(shininess, 128.0f);
  }

  const aiMaterial& m_Source;
  const bool m_Linear;
  TextureLoader& m_Textures;
};

}  // namespace

util::YPointer<scene::Material> convertMaterial(const aiMaterial& source, bool linearColors, TextureLoader& textures) {
  return MaterialConverter(source, linearColors, textures).convert();
}

float displayValue(float linear) {
  return linear <= 0.0031308f ? linear * 12.92f : 1.055f * std::pow(linear, 1 / 2.4f) - 0.055f;
}

}  // namespace nubo::io
