#include "module_scene/io/materialbuilder.h"

#include <algorithm>
#include <cmath>
#include <memory>

#include "module_scene/mesh/parallel.h"

namespace nubo::io {
namespace {

using reader::named;

float unit(float value) { return std::isfinite(value) ? std::clamp(value, 0.0f, 1.0f) : 0.0f; }

template <std::size_t N>
std::array<float, N> unit(std::array<float, N> values) {
  for (float& value : values) value = unit(value);
  return values;
}

/// Alpha as a cutoff leaves it, for drawing that knows nothing of cutoffs.
QImage cutOff(const QImage& image, float cutoff) {
  QImage result = image.convertToFormat(QImage::Format_ARGB32);
  for (int y = 0; y < result.height(); ++y) {
    auto* line = reinterpret_cast<QRgb*>(result.scanLine(y));
    for (int x = 0; x < result.width(); ++x)
      line[x] = (line[x] & 0x00FFFFFFu) | (float(qAlpha(line[x])) >= cutoff * 255 ? 0xFF000000u : 0u);
  }
  return result;
}

scene::Sampling samplingOf(const reader::Texture& texture) {
  return {scene::Wrap(texture.across), scene::Wrap(texture.up), texture.smooth};
}

std::array<float, 6> finite(const std::array<float, 6>& transform) {
  const bool isFinite =
      std::all_of(transform.begin(), transform.end(), [](float value) { return std::isfinite(value); });
  return isFinite ? transform : scene::TextureUse().transform;
}

/// Metal reflects its own colour and what surrounds it; without surroundings it keeps half its diffuse light, so as not
/// to be black. Rough surfaces spread the highlight until nothing is seen of it.
void setFixedValues(scene::Material& material) {
  const scene::PhysicalMaterial& physical = *material.physical;
  const float gloss = (1 - physical.roughness) * (1 - physical.roughness);
  material.diffuse = physical.baseColor;
  for (std::size_t i = 0; i < 3; ++i) {
    const float base = material.diffuse[i];
    material.specular[i] = gloss * (0.2f + physical.metallic * (base - 0.2f));
    if (!material.texture) material.diffuse[i] = base * (1 - 0.5f * physical.metallic * gloss);
    // Else only parts of it glow.
    if (!physical.emissiveTexture.texture) material.emissive[i] = physical.emissive[i];
  }
  const float r2 = std::max(physical.roughness * physical.roughness, 0.1f);
  material.shininess = std::clamp(2 / (r2 * r2) - 2, 0.0f, 128.0f);
}

}  // namespace

std::vector<util::YPointer<scene::Material>> MaterialBuilder::build() {
  m_Images.resize(m_Model.images.size());
  scene::runOnCores(m_Images.size(), [this](std::size_t i) { m_Images[i] = buildImage(m_Model.images[i]); });
  for (const reader::Image& image : m_Model.images) m_Blocks.release(image.pixels.data());
  std::vector<util::YPointer<scene::Material>> materials;
  for (const reader::Material& material : m_Model.materials) materials.push_back(buildMaterial(material));
  return materials;
}

/// The reader's pixels, which stay where they are.
QImage MaterialBuilder::buildImage(const reader::Image& image) const {
  constexpr std::uint32_t MaxSide = 16384;
  if (image.pixels.empty()) return QImage();
  if (image.width > MaxSide || image.height > MaxSide ||
      image.pixels.size() != std::size_t(image.width) * image.height * 4)
    throw reader::BadRecord("a picture has more or fewer pixels than its size needs");
  bool opaque = true;
  for (std::size_t i = 3; i < image.pixels.size() && opaque; i += 4) opaque = image.pixels[i] == 255;
  using Kept = std::shared_ptr<const char>;
  auto kept = std::make_unique<Kept>(m_Blocks.keep(image.pixels.data()));
  const uchar* pixels = image.pixels.data();
  QImage result(
      pixels, int(image.width), int(image.height), int(image.width) * 4,
      opaque ? QImage::Format_RGBX8888 : QImage::Format_RGBA8888, [](void* own) { delete static_cast<Kept*>(own); },
      kept.get());
  if (result.isNull()) throw std::bad_alloc();
  static_cast<void>(kept.release());  // the image deletes it
  return result;
}

scene::TextureUse MaterialBuilder::buildTexture(const reader::TextureUse& use, const float* cutoff) {
  scene::TextureUse result;
  if (use.texture == reader::None) return result;
  const reader::Texture& texture = named(m_Model.textures, use.texture);
  if (texture.image == reader::None) return result;
  const QImage& image = named(m_Images, texture.image);
  if (image.isNull()) return result;
  const bool cuts = cutoff && image.hasAlphaChannel();
  util::YPointer<scene::Texture>& shared = m_Textures[{use.texture, cuts ? *cutoff : -1}];
  if (!shared) shared = new scene::Texture(cuts ? cutOff(image, *cutoff) : image, samplingOf(texture));
  result.texture = shared;
  result.coordinates = use.coordinates == 1 ? 1 : 0;
  result.transform = finite(use.transform);
  return result;
}

scene::PhysicalMaterial MaterialBuilder::buildPhysical(const reader::PhysicalMaterial& source, const float* cutoff) {
  scene::PhysicalMaterial physical;
  physical.baseColor = unit(source.baseColor);
  physical.metallic = unit(source.metallic);
  physical.roughness = unit(source.roughness);
  physical.normalScale = std::isfinite(source.normalScale) ? source.normalScale : 1;
  physical.occlusionStrength = unit(source.occlusionStrength);
  physical.emissive = unit(source.emissive);
  physical.emissiveStrength =
      std::isfinite(source.emissiveStrength) ? std::clamp(source.emissiveStrength, 0.0f, 1e6f) : 1;
  physical.baseColorTexture = buildTexture(source.baseColorTexture, cutoff);
  physical.metallicRoughnessTexture = buildTexture(source.metallicRoughnessTexture, nullptr);
  physical.normalTexture = buildTexture(source.normalTexture, nullptr);
  physical.occlusionTexture = buildTexture(source.occlusionTexture, nullptr);
  physical.emissiveTexture = buildTexture(source.emissiveTexture, nullptr);
  // The factor of a texture that cannot be read is mostly 1, with which all of it would glow or be metal.
  const auto isLost = [](const reader::TextureUse& use, const scene::TextureUse& built) {
    return use.texture != reader::None && !built.texture;
  };
  if (isLost(source.emissiveTexture, physical.emissiveTexture)) physical.emissive = {0, 0, 0};
  if (isLost(source.metallicRoughnessTexture, physical.metallicRoughnessTexture)) physical.metallic = 0;
  return physical;
}

util::YPointer<scene::Material> MaterialBuilder::buildMaterial(const reader::Material& source) {
  util::YPointer<scene::Material> material(new scene::Material);
  material->name = QString::fromUtf8(source.name.c_str());
  material->lit = source.lit;
  material->alphaMode = scene::AlphaMode(source.alphaMode);
  material->alphaCutoff = std::isfinite(source.alphaCutoff) ? source.alphaCutoff : 0.5f;
  material->doubleSided = source.doubleSided;
  const float* cutoff = source.alphaMode == reader::AlphaMode::Mask ? &material->alphaCutoff : nullptr;
  if (source.physical) {
    material->physical = buildPhysical(*source.physical, cutoff);
    material->texture = material->physical->baseColorTexture.texture;
    setFixedValues(*material);
  } else {
    material->texture = buildTexture(source.texture, cutoff).texture;
    material->diffuse = unit(source.diffuse);
    if (material->texture && source.textureReplacesColor) std::fill_n(material->diffuse.begin(), 3, 1.0f);
    material->specular = unit(source.specular);
    material->emissive = unit(source.emissive);
    material->shininess = std::isfinite(source.shininess) ? std::clamp(source.shininess, 0.0f, 128.0f) : 0.0f;
  }
  if (cutoff) material->diffuse[3] = material->diffuse[3] >= *cutoff ? 1.0f : 0.0f;
  material->emissive[3] = material->specular[3] = 1.0f;
  return material;
}

}  // namespace nubo::io
