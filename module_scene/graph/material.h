// How surfaces look.
#pragma once

#include <QImage>
#include <QString>
#include <array>
#include <optional>

#include "module_scene/graph/copyslot.h"
#include "module_scene/visibility.h"

namespace nubo::scene {

/// What lies beyond a texture's borders.
enum class Wrap { Repeat, Mirror, Clamp };

/// How a texture goes on beyond its borders, and how it is enlarged. Where it is made smaller it is always smoothed.
struct Sampling {
  Wrap across = Wrap::Repeat, up = Wrap::Repeat;
  bool smooth = true;  ///< false: enlarged pixels keep their corners

  bool operator==(const Sampling& o) const { return across == o.across && up == o.up && smooth == o.smooth; }
};

/// A picture wrapped over a surface, of 8-bit channels as they are: what they mean is a matter of who uses it. Texture
/// coordinate (0, 0) is the picture's lower left corner.
class NUBO_MODULE_SCENE_EXPORT Texture : public util::YObject {
 public:
  explicit Texture(const QImage& image, bool repeat = true);
  Texture(const QImage& image, const Sampling& sampling);
  const QImage& getImage() const { return m_Image; }
  const Sampling& getSampling() const { return m_Sampling; }
  bool repeats() const { return m_Sampling.across == Wrap::Repeat && m_Sampling.up == Wrap::Repeat; }
  /// True if any pixel is not opaque.
  bool isTransparent() const { return m_Transparent; }
  CopySlot& copySlot() const { return m_CopySlot; }

 private:
  QImage m_Image;
  Sampling m_Sampling;
  bool m_Transparent;
  mutable CopySlot m_CopySlot;
};

/// A texture with the way to its coordinates.
struct TextureUse {
  util::YPointer<Texture> texture;  ///< null: none, which counts as white
  int coordinates = 0;              ///< 0: Geometry::texCoords, 1: secondTexCoords
  /// u' = t[0] u + t[1] v + t[2], v' = t[3] u + t[4] v + t[5]; v counts upwards, as everywhere here.
  std::array<float, 6> transform{1, 0, 0, 0, 1, 0};
};

/// What alpha means.
enum class AlphaMode {
  Blend,  ///< the share of light that is kept from what lies behind
  Mask,   ///< below the cutoff nothing is there, the rest is opaque
  Opaque  ///< nothing
};

/// What a surface does to light, by metallic and roughness. Colours are as they are shown (encoded as sRGB), as
/// everywhere in a scene: linear factors of a file are encoded by its reader. Factors lie in 0 to 1 and multiply their
/// textures. No change after it became part of a scene.
struct PhysicalMaterial {
  std::array<float, 4> baseColor{0.8f, 0.8f, 0.8f, 1.0f};
  float metallic = 0;
  float roughness = 1;
  float normalScale = 1;        ///< of the relief's x and y
  float occlusionStrength = 1;  ///< of its texture
  std::array<float, 3> emissive{0, 0, 0};
  float emissiveStrength = 1;  ///< multiplies the emitted light; may be above 1

  TextureUse baseColorTexture;          ///< sRGB, alpha
  TextureUse metallicRoughnessTexture;  ///< linear: roughness in green, metallic in blue
  TextureUse normalTexture;             ///< linear: x, y (upwards) and z in -1 to 1
  TextureUse occlusionTexture;          ///< linear: red
  TextureUse emissiveTexture;           ///< sRGB
};

/// Fixed-function material values, each colour as red, green, blue, alpha in 0 to 1; and, where a file tells more, the
/// physical ones, from which the values were made then.
struct NUBO_MODULE_SCENE_EXPORT Material : public util::YObject {
  QString name;
  std::array<float, 4> diffuse{0.8f, 0.8f, 0.8f, 1.0f};
  std::array<float, 4> specular{0.0f, 0.0f, 0.0f, 1.0f};
  std::array<float, 4> emissive{0.0f, 0.0f, 0.0f, 1.0f};
  float shininess = 0.0f;  ///< OpenGL's exponent, 0 to 128
  util::YPointer<Texture> texture;

  bool lit = true;  ///< false: the colour as it is
  AlphaMode alphaMode = AlphaMode::Blend;
  float alphaCutoff = 0.5f;  ///< of AlphaMode::Mask
  bool doubleSided = true;   ///< false: back faces may be left out
  std::optional<PhysicalMaterial> physical;

  /// The physical values, or those that come closest to the others.
  PhysicalMaterial toPhysical() const;
  bool isTransparent() const {
    return alphaMode != AlphaMode::Opaque && (diffuse[3] < 1.0f || (texture && texture->isTransparent()));
  }
};

}  // namespace nubo::scene
