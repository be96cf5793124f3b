// Coarser versions of big geometries, for views that move.
#pragma once

#include <atomic>

#include "module_scene/graph/sceneelement.h"

namespace nubo::scene {

/// Whether there are so many primitives in and below `root` that not all of it is drawn fast enough. The scene must be
/// kept still.
NUBO_MODULE_SCENE_EXPORT bool isWorthCoarsening(const SceneElement& root);
/// A geometry by which a coarse version is made.
struct Coarsenable {
  util::YPointer<Geometry> geometry;
  double error;  ///< by which that may lie off, in the geometry's own units, so that it is hardly seen in the whole
};
/// Those by which coarse versions are made then, each once however many elements share it. Points need none, since some
/// of them stand for all.
NUBO_MODULE_SCENE_EXPORT std::vector<Coarsenable> worthCoarsening(const SceneElement& root);

enum class Coarsening {
  Quick,  ///< a fifth of the faces or, of large wholes, fewer, which tears textures and the borders of groups a little
  Fine    ///< a tenth or so, which keeps outlines, textures and normals; takes some six times as long
};

/// Makes versions in the place of what there was. The geometries may be drawn meanwhile. Any
/// thread, uses all cores; ends early, without one for the geometry that it is at, when `cancelled`.
NUBO_MODULE_SCENE_EXPORT void makeCoarseVersions(const std::vector<Coarsenable>& geometries, Coarsening coarsening,
                                                 const std::atomic<bool>& cancelled);

/// What was made of it, or null. Any thread.
NUBO_MODULE_SCENE_EXPORT util::YPointer<CoarseVersion> coarseVersion(const Geometry& geometry);

}  // namespace nubo::scene
