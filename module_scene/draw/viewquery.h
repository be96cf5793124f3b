// What a drawing looks for.
#pragma once

#include <optional>

#include "module_scene/draw/outlines.h"
#include "module_scene/graph/sceneelement.h"
#include "module_scene/graph/section.h"

namespace nubo::scene {

class JoinedParts;

/// What to look for, and through which window.
struct ViewQuery {
  math::Matrix4 projection;
  int width = 1, height = 1;               ///< pixels
  double detail = 0.0;                     ///< pixels by which shapes may lie off; 0: draws everything as it is
  int layers = 0;                          ///< Layer bits
  int kinds = 0;                           ///< Kind bits
  int samples = 0;                         ///< per pixel
  bool sieved = false;                     ///< leaves out points that others hide, which takes time, before drawing
  bool plotted = false;                    ///< points are drawn without OpenGL, which then needs no copies of them
  bool even = false;                       ///< points of one geometry are all as wide as each other
  bool edges = false;                      ///< faces get lines where their surface has an edge
  Outlines* outlines = nullptr;            ///< and these, where it turns away; null: not
  const JoinedParts* joined = nullptr;     ///< of the same parts, for such as may be coarse; null: none
  std::optional<Plane> cut = {};           ///< beyond which, in eye space, nothing is drawn
  double widthScale = 1;                   ///< of what has a width in pixels
  double widestPoint = 1, widestLine = 1;  ///< that can be drawn

  /// Whether no more is drawn than a picture shows.
  static bool isPicture(int layers) { return !(layers & ~(LayerModel | LayerTransparent)); }
  /// Of samples. In a picture, edges that are as thin as a pixel or two are smoother than others need be: so a small
  /// one looks like a large one from further away.
  int samplesNeeded() const;
  /// Sets the last three for widths in pixels of a view of that height, seen without the lens; 0: in pixels of this
  /// one. Needs a context.
  void scaleWidths(int viewHeight, double lens);
};

/// Pixels by which an area must be extended for points or lines of that width.
int marginFor(float width);
/// The projection that shows `margin` pixels more on each side of a view, with pixels where they were.
math::Matrix4 extended(const math::Matrix4& projection, int width, int height, int margin);

}  // namespace nubo::scene
