// How surfaces look.
#pragma once

#include <QImage>
#include <QString>
#include <array>

#include "module_scene/graph/copyslot.h"
#include "module_scene/visibility.h"

namespace nubo::scene {

/// A picture wrapped over a surface. Texture coordinate (0, 0) is the picture's lower left corner.
class NUBO_MODULE_SCENE_EXPORT Texture : public util::YObject {
 public:
  explicit Texture(const QImage& image, bool repeat = true);
  const QImage& getImage() const { return m_Image; }
  bool repeats() const { return m_Repeat; }
  /// True if any pixel is not opaque.
  bool isTransparent() const { return m_Transparent; }
  CopySlot& copySlot() const { return m_CopySlot; }

 private:
  QImage m_Image;
  bool m_Repeat;
  bool m_Transparent;
  mutable CopySlot m_CopySlot;
};

/// Fixed-function material values, each colour as red, green, blue, alpha in 0 to 1.
struct NUBO_MODULE_SCENE_EXPORT Material : public util::YObject {
  QString name;
  std::array<float, 4> diffuse{0.8f, 0.8f, 0.8f, 1.0f};
  std::array<float, 4> specular{0.0f, 0.0f, 0.0f, 1.0f};
  std::array<float, 4> emissive{0.0f, 0.0f, 0.0f, 1.0f};
  float shininess = 0.0f;  ///< OpenGL's exponent, 0 to 128
  bool lit = true;         ///< false: the colour as it is
  util::YPointer<Texture> texture;

  bool isTransparent() const { return diffuse[3] < 1.0f || (texture && texture->isTransparent()); }
};

}  // namespace nubo::scene
