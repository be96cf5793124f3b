// The light that comes from everywhere.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <vector>

#include "module_scene/graph/copyslot.h"
#include "module_scene/math/matrix.h"
#include "module_scene/visibility.h"

namespace nubo::scene {

/// Linear red, green and blue.
using Light = std::array<float, 3>;
using Direction = std::array<float, 3>;

/// What surrounds a scene at an infinite distance, made ready for drawing: what falls onto a surface, and what surfaces
/// of any roughness reflect. In a frame of its own: x to the right, y away from the eye, z up. Does not change.
class NUBO_MODULE_SCENE_EXPORT Environment : public util::YObject {
 public:
  /// Of the reflections: texels along each side of a level, and levels of roughness from 0 to 1.
  static constexpr int Size = 128, Levels = 8;
  /// c + b·n + n·Qn by its coefficients: 1, x, y, z, xx, yy, zz, xy, yz, zx.
  using Quadric = std::array<Light, 10>;

  /// `radiance` is asked for directions of length 1, on several threads.
  explicit Environment(const std::function<Light(const Direction&)>& radiance);
  ~Environment() override;

  /// What a white matte surface shows that looks in the direction of n.
  const Quadric& irradiance() const { return m_Irradiance; }
  /// Level by level, each an octahedron's faces folded out into a square whose outermost texels lie on its edges, with
  /// straight up in its middle: red, green and blue as square roots, in shares of the brightest.
  const std::vector<std::uint16_t>& reflections() const { return m_Reflections; }
  float brightest() const { return m_Brightest; }

  CopySlot& copySlot() const { return m_CopySlot; }

 private:
  template <class Source>
  void addLevel(const Source& source);

  Quadric m_Irradiance{};
  std::vector<std::uint16_t> m_Reflections;
  float m_Brightest = 1;
  mutable CopySlot m_CopySlot;
};

class Scene;
/// What lights a scene; null: the studio.
NUBO_MODULE_SCENE_EXPORT util::YPointer<Environment> environmentOf(const Scene& scene);

/// From eye space to the environment's: right, away from the eye, and up. Where one looks straight up or down, the top
/// of the picture is what lies away, or near. In the scene z points up.
math::Matrix4 environmentFrame(const math::Matrix4& view);
/// Of directions that the matrix, which only turns, brings to where the source has them.
Environment::Quadric turned(const Environment::Quadric& source, const math::Matrix4& matrix);

/// Seen from far off: shines from one direction.
struct DistantLight {
  Direction direction;  ///< to the light, of length 1, in the environment's frame
  Light light;          ///< what a white matte surface shows that looks there
};

/// The studio that everything stands in: soft areas of light over a bright floor and a dim room. Made when first asked
/// for, which takes some ten milliseconds. Any thread.
NUBO_MODULE_SCENE_EXPORT const Environment& studio();
/// The studio's key light.
NUBO_MODULE_SCENE_EXPORT const DistantLight& studioKey();

}  // namespace nubo::scene
