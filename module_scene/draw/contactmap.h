// How much light reaches what a view shows, where surfaces stand close to each other.
#pragma once

#include <QOpenGLFunctions>
#include <QRect>
#include <array>
#include <cstdint>
#include <optional>
#include <vector>

#include "module_scene/draw/contactlookup.h"
#include "module_scene/draw/depthplotter.h"
#include "module_scene/draw/drawlist.h"
#include "module_scene/draw/painter.h"
#include "module_scene/draw/sharedname.h"
#include "module_scene/draw/wholeview.h"

namespace nubo::scene {

/// A map of the whole view, of a size that does not depend on the picture's, so that all tiles find the same in it: for
/// each texel the depth, and what share of the light from everywhere arrives there. Ambient occlusion for faces; for
/// points eye-dome lighting, which shades what lies behind its surroundings.
///
/// Used with one context at a time; may be destroyed without one.
class ContactMap {
 public:
  /// What is seen of a scene.
  struct Subject {
    std::array<const SceneElement*, 2> elements;  ///< either may be null
    std::uint64_t changes;                        ///< the parts' version
    int kinds;
    int viewHeight;  ///< as SceneDrawer's

    bool operator==(const Subject& o) const {
      return elements == o.elements && changes == o.changes && kinds == o.kinds && viewHeight == o.viewHeight;
    }
  };
  /// Keeps the map if it is of the same view, or begins a new one of the subject's parts, which the shader, that of the
  /// same drawer, may draw. False if OpenGL cannot.
  [[nodiscard]] bool begin(const Viewpoint& viewpoint, const Subject& subject, const SceneParts& parts,
                           SurfaceShader& shader);
  /// Makes one of the programs, so that begin() does not have to; false: they are there, or OpenGL cannot.
  bool makeNext();
  bool isComplete() const { return m_Stage == Stage::Complete; }
  /// Makes the driver ready for what follows, which draws nothing.
  void prepare();
  /// Draws on until about so many indices are drawn, or texels computed in their place. Changes OpenGL's state.
  void draw(std::size_t indices);
  /// A picture's pixels.
  struct Pixels {
    int width, height, margin;  ///< with so many more on each side
    double facesBack;           ///< as setFacesBack() was told
  };
  ContactLookup lookup(const Viewpoint& viewpoint, const Pixels& picture) const;
  GLuint texture() const { return m_Map.name(); }

 private:
  enum class Stage { Faces, Points, Directions, Occlusion, Smoothing, Finishing, Complete };
  struct Pass {
    SharedName program;
    GLint texels = -1, depthRows = -1, window = -1, last = -1;
  };

  /// Things of one kind that the view shows, and how far away they are.
  struct Seen {
    DrawList list;
    std::optional<Painter> painter;
    SharedName depths;
  };

  bool reserve(int width, int height);
  bool createPasses();
  bool create(Pass& pass, const char* source);
  void collect(const Viewpoint& viewpoint, const Subject& subject, const SceneParts& parts, SurfaceShader& shader);
  /// What a stage reads and writes, and by which pass. The first only writes.
  struct Work {
    const Pass& pass;
    const SharedName &first, &second, &target;
  };
  Work work() const;
  Seen* seen();
  bool bindTarget(GLuint framebuffer);
  bool plot(const Seen& seen);
  void compute(int rows);

  Viewpoint m_Viewpoint;  ///< of the whole view
  ViewWindow m_Window;
  std::optional<Subject> m_Subject;
  Stage m_Stage = Stage::Complete;
  Seen m_Faces, m_Points;
  DepthPlotter m_Plotter;
  QRect m_Covered;  // texels beyond which there is nothing, from the lower left one
  int m_Row = 0;    // of those, or begun

  int m_Width = 0, m_Height = 0;
  SharedName m_Directions;          // of what is seen
  SharedName m_Raw, m_Half, m_Map;  // depth in red, green and blue; in alpha how dark it is, in the last how light
  Pass m_Direction, m_Occlusion, m_Smoothing;
};

}  // namespace nubo::scene
