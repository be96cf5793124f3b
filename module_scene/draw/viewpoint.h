// From where a scene is seen.
#pragma once

#include "module_scene/math/matrix.h"

namespace nubo::scene {

/// Of the vertical opening angle of pictures and panels, half: 9/70 pi.
constexpr double HalfOpening = 0.40391905546154483;

/// A projection and a transform that only moves, turns and scales, which together give the caller's picture.
struct Viewpoint {
  math::Matrix4 projection;
  math::Matrix4 view;     ///< from the scene to eye space
  bool parallel = false;  ///< the eye is infinitely far away
  double lens = 1;        ///< how much larger the projection shows all than the caller's does

  /// Takes apart a transform under which a frustum shows a scene in parallel, as ScenePanel hands it out: x and y in
  /// its first rows, a constant in the third and the depth in the fourth. What is only in the matrix as a depth cannot
  /// be lit, sorted or mirrored. Takes a lens apart, too: x and y that are scaled otherwise than the depth. Other
  /// transforms stay as they are.
  static Viewpoint of(const math::Matrix4& projection, const math::Matrix4& transform);
};

}  // namespace nubo::scene
