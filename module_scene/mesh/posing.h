// Has meshes follow their bones and shapes.
#pragma once

#include <set>

#include "module_scene/graph/rig.h"

namespace nubo::scene {

/// Deforms what hangs on elements that have moved, once for all of them. Whoever uses it has the right to change
/// transforms and data of the scene (SceneChange), or the only reference to its elements.
class NUBO_MODULE_SCENE_EXPORT Posing {
 public:
  /// The element has another transform, or other weights of shapes.
  void moved(const SceneElement& element);
  /// Computes positions, normals and bounds of all meshes that are deformed by what has moved, on all cores; nothing
  /// where the bones stand to the mesh as they did, and the weights are the same.
  void finish();

 private:
  std::set<const SceneElement*> m_Owners;  ///< of rigs
};

/// Deforms all meshes of the element's own rig; the same rights are needed. Where p is a vertex at rest, d_s how far it
/// goes for the shape s, b its bones with their weights w, and matrices lead to the space of the element that shows the
/// mesh, it comes to lie at
///   sum over b of w_b M_b F_b (p + sum over s of w_s d_s)
/// (linear blend skinning: N. Magnenat-Thalmann et al., Joint-Dependent Local Deformations, 1988; F is
/// Bone::fromMesh, M the way from the bone). Normals go with the cofactors of the blended matrix, which keep them
/// upright on the faces; those of shapes in a file without any are computed again. The geometry's own transform cancels
/// out: a skin is where its bones are.
NUBO_MODULE_SCENE_EXPORT void pose(const SceneElement& owner);

}  // namespace nubo::scene
