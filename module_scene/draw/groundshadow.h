// The soft shadow under a scene.
#pragma once

#include <QOpenGLFunctions>
#include <array>
#include <cstdint>
#include <optional>

#include "module_scene/draw/drawlist.h"
#include "module_scene/draw/sharedname.h"
#include "module_scene/draw/surfaceshader.h"
#include "module_scene/draw/viewpoint.h"

namespace nubo::scene {

/// A ground of nothing but the shadow that falls onto it: black where light from above is kept away, in the plane
/// across the scene's z axis on which the scene stands. Composes over any page.
///
/// Used with one context at a time; may be destroyed without one.
class GroundShadow {
 public:
  /// Finds the shadow of what is seen of a scene, which has those parts, `changes` being their version, and may be
  /// drawn with the shader; it is kept while that is the same. False if there is none, or OpenGL cannot. Changes
  /// OpenGL's state and the framebuffer that is bound.
  [[nodiscard]] bool begin(const std::array<const SceneElement*, 2>& elements, std::uint64_t changes, int kinds,
                           const SceneParts& parts, SurfaceShader& shader);
  /// Whether the plane's upper side is seen.
  bool isSeen(const Viewpoint& viewpoint) const;
  /// Draws it behind everything that is drawn already, in premultiplied colours, with the projection that is loaded.
  void draw(const Viewpoint& viewpoint);

 private:
  struct Subject {
    std::array<const SceneElement*, 2> elements;
    std::uint64_t changes;
    int kinds;
    bool operator==(const Subject& o) const {
      return elements == o.elements && changes == o.changes && kinds == o.kinds;
    }
  };
  struct Area {
    math::Vector3 middle{};  ///< on the ground
    double half = 0;         ///< of its side
    double height = 0;       ///< of what stands on it
  };

  bool createPrograms();
  [[nodiscard]] bool findHeights(GLuint framebuffer, const SceneParts& parts, int kinds, bool upwards,
                                 SurfaceShader& shader);
  void gather(GLuint framebuffer);

  std::optional<Subject> m_Subject;
  Area m_Area;
  DrawList m_List;
  SharedName m_Undersides, m_Tops, m_Raw, m_Shadow;
  SharedName m_GatherProgram, m_SmoothProgram, m_DrawProgram;
};

}  // namespace nubo::scene
