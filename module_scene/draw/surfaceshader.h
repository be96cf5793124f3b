// Draws surfaces with their physical materials, light computed for each pixel.
#pragma once

#include <array>
#include <map>
#include <optional>
#include <unordered_map>

#include "module_scene/draw/buffercache.h"
#include "module_scene/draw/contactlookup.h"
#include "module_scene/draw/environment.h"
#include "module_scene/draw/viewpoint.h"
#include "module_scene/graph/look.h"

namespace nubo::scene {

/// OpenGL's programs for one drawer: their state is no thing to share with drawers on other threads. Needs a current
/// context; may be destroyed without one.
class SurfaceShader {
 public:
  /// What it needs and the current context lacks; null if nothing is known to be missing.
  static const char* whatIsMissing();
  /// Whether OpenGL can. Where nothing is missing and yet it cannot, the log says so once.
  [[nodiscard]] bool isAvailable();
  /// Makes one of the programs of what is seen most, an opaque surface without textures; false: they are there.
  bool makeNext();
  /// To be called whenever drawing begins or goes on, before the first use(). In the scene z points up.
  /// Without an environment there is the studio with its key light.
  void begin(const Viewpoint& viewpoint, Look look, const util::YPointer<Environment>& environment);
  /// In place of begin(), where only depths are of interest. False where it gains nothing: where isPlaced() is false.
  [[nodiscard]] bool beginDepths();
  /// After begin(): light between surfaces is looked up in this map.
  void setContact(GLuint map, const ContactLookup& lookup);
  /// Where light is computed: software OpenGL does it for a block of pixels of each face, however small it is. Per
  /// vertex without textures only.
  enum class Shading { PerPixel, PerVertex, PerVertexOnBothSides };
  /// Which of the programs draws a geometry.
  unsigned variantFor(const Geometry& geometry, Shading shading, bool clipped);
  /// Whether programs take a part's place from DrawCommands, and not from OpenGL's matrix.
  bool isPlaced() const { return m_Placing != 0; }
  /// Makes the program that draws a geometry. False: OpenGL refuses it, and isPlaced() is false from now on.
  bool canPlace(const Geometry& geometry, Shading shading, bool clipped);
  /// Whether geometries of the same kind and format need the same to be set up for either material.
  bool lookAlike(const Material& a, const Material& b);
  /// Sets up program and material for a geometry whose arrays are bound. `clipped`: OpenGL's clip planes are in use.
  void use(const Geometry& geometry, Shading shading, bool clipped);

 private:
  static constexpr std::size_t UniformCount = 20;
  /// Of a material, what a program is told: alpha's limit, metallic, roughness, emission, relief and occlusion.
  using Values = std::array<float, 8>;
  struct Surface {
    PhysicalMaterial physical;
    Values values;
  };
  struct Program {
    SharedName name;
    std::array<GLint, UniformCount> locations{};
    unsigned drawing = 0;          // for which it has the light
    std::optional<Values> values;  // that it was told last
  };

  unsigned placing() const;
  Program& program(unsigned variant);
  const Surface& surfaceOf(const Material& material);
  unsigned surfaceVariantFor(const Geometry& geometry, Shading shading);
  unsigned contactFor(const Geometry& geometry, unsigned variant) const;
  void setLight(const Program& program) const;
  void setLookup(const Program& program) const;
  static void setValues(Program& program, const Values& values);
  static void setTextures(const Program& program, const PhysicalMaterial& material, unsigned variant);

  std::map<unsigned, Program> m_Programs;
  std::unordered_map<const Material*, Surface> m_Surfaces;  // of this drawing: many parts have few materials
  bool m_CanPlace = true;                                   // as far as is known
  unsigned m_Placing = 0;
  bool m_OnlyDepths = false;
  Look m_Look = Look::Studio;
  util::YPointer<Environment> m_Environment;
  unsigned m_Drawing = 0;
  bool m_HasVertexTextures = false;
  bool m_Failed = false;          // OpenGL refused one of the programs
  math::Matrix4 m_ToEnvironment;  // from eye space
  bool m_Parallel = false;        // the eye is infinitely far away
  std::optional<ContactLookup> m_Contact;
};

}  // namespace nubo::scene
