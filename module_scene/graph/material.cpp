#include "module_scene/graph/material.h"

#include <algorithm>
#include <cmath>

namespace nubo::scene {

namespace {

bool hasTransparentPixel(const QImage& image) {
  if (!image.hasAlphaChannel()) return false;
  const QImage pixels = image.convertToFormat(QImage::Format_ARGB32);
  for (int y = 0; y < pixels.height(); ++y) {
    const QRgb* row = reinterpret_cast<const QRgb*>(pixels.constScanLine(y));
    if (std::any_of(row, row + pixels.width(), [](QRgb pixel) { return qAlpha(pixel) < 255; })) return true;
  }
  return false;
}

}  // namespace

Texture::Texture(const QImage& image, bool repeat)
    : Texture(image, repeat ? Sampling{} : Sampling{Wrap::Clamp, Wrap::Clamp}) {}

Texture::Texture(const QImage& image, const Sampling& sampling)
    : m_Image(image), m_Sampling(sampling), m_Transparent(hasTransparentPixel(image)) {}

PhysicalMaterial Material::toPhysical() const {
  if (physical) return *physical;
  PhysicalMaterial result;
  result.baseColor = diffuse;
  std::copy_n(emissive.begin(), 3, result.emissive.begin());
  result.baseColorTexture.texture = texture;
  // A lobe of this exponent is as wide as one of that roughness. Weak highlights are hardly seen, whatever their width;
  // a surface has none of a strength of its own, so that it becomes rough instead.
  constexpr float Strong = 0.5f;
  const float strength = std::min(1.0f, std::max({specular[0], specular[1], specular[2]}) / Strong);
  const float widthOfLobe = std::pow(2 / (shininess + 2), 0.25f);
  result.roughness = 1 - strength * (1 - widthOfLobe);
  return result;
}

}  // namespace nubo::scene
