#include "module_scene/mesh/sectioncolor.h"

#include <algorithm>
#include <cmath>
#include <functional>

namespace nubo::scene {

namespace {

using Color = std::array<float, 4>;

Color mean(const std::vector<std::uint32_t>& vertices, const std::function<Color(std::size_t)>& colorAt) {
  Color sum{};
  for (const std::uint32_t vertex : vertices) {
    const Color color = colorAt(vertex);
    for (std::size_t i = 0; i < sum.size(); ++i) sum[i] += color[i] / float(vertices.size());
  }
  return sum;
}

Color colorOf(const TextureUse& use, float u, float v) {
  const QImage& image = use.texture->getImage();
  const auto& t = use.transform;
  // Textures that do not repeat are hardly left by what uses them.
  const auto texel = [](float place, int count) {
    return std::min(int((place - std::floor(place)) * float(count)), count - 1);
  };
  const int x = texel(t[0] * u + t[1] * v + t[2], image.width());
  const int y = image.height() - 1 - texel(t[3] * u + t[4] * v + t[5], image.height());
  const QColor color = image.pixelColor(x, y);
  return {float(color.redF()), float(color.greenF()), float(color.blueF()), float(color.alphaF())};
}

/// All three channels of white where there is no texture, or no coordinates for it.
Color meanOf(const TextureUse& use, const Geometry& cut, const std::vector<std::uint32_t>& vertices) {
  const std::vector<float>& places = use.coordinates == 0 ? cut.texCoords : cut.secondTexCoords;
  if (!use.texture || use.texture->getImage().isNull() || places.empty()) return {1, 1, 1, 1};
  return mean(vertices, [&](std::size_t vertex) { return colorOf(use, places[2 * vertex], places[2 * vertex + 1]); });
}

/// What only a texture told of is not there: factors beside it are those of its largest values.
void removeTextures(PhysicalMaterial& material) {
  if (material.emissiveTexture.texture) material.emissive = {0, 0, 0};
  if (material.metallicRoughnessTexture.texture) material.metallic = 0;
  for (TextureUse* use : {&material.baseColorTexture, &material.metallicRoughnessTexture, &material.normalTexture,
                          &material.occlusionTexture, &material.emissiveTexture})
    *use = TextureUse();
}

}  // namespace

util::YPointer<Material> sectionMaterial(const Geometry& cut, const std::vector<std::uint32_t>& vertices) {
  const util::YPointer<Material> result(cut.material ? new Material(*cut.material) : new Material);
  TextureUse use;
  use.texture = result->texture;
  Color color = meanOf(result->physical ? result->physical->baseColorTexture : use, cut, vertices);
  Color own = result->diffuse;
  if (!cut.colors.empty())
    own = mean(vertices, [&](std::size_t vertex) {
      const std::uint8_t* c = &cut.colors[4 * vertex];
      return Color{float(c[0]) / 255, float(c[1]) / 255, float(c[2]) / 255, float(c[3]) / 255};
    });
  const bool isCutOut = result->alphaMode == AlphaMode::Mask;
  for (std::size_t i = 0; i < color.size(); ++i) color[i] *= own[i];
  if (isCutOut) color[3] = 1;
  result->diffuse = color;
  if (result->physical) {
    result->physical->baseColor = color;
    removeTextures(*result->physical);
  }
  result->texture = nullptr;
  if (isCutOut) result->alphaMode = AlphaMode::Opaque;
  result->doubleSided = true;
  return result;
}

}  // namespace nubo::scene
