// Coarser versions of big geometries, for views that move.
#pragma once

#include <atomic>

#include "module_scene/graph/sceneelement.h"

namespace nubo::scene {

/// Geometries by which coarse versions are made, each once however many elements share it. Where there are few
/// primitives in and below `root` there are none: all of it is drawn fast enough. The scene must be kept still.
NUBO_MODULE_SCENE_EXPORT std::vector<util::YPointer<Geometry>> worthCoarsening(const SceneElement& root);

/// Makes versions of a tenth of the faces or points or so, which keep outlines, textures and normals, for those that
/// have none. The geometries may be drawn meanwhile. Any thread, uses all cores; ends early, without one for the
/// geometry that it is at, when `cancelled`.
NUBO_MODULE_SCENE_EXPORT void makeCoarseVersions(const std::vector<util::YPointer<Geometry>>& geometries,
                                                 const std::atomic<bool>& cancelled);

/// What was made of it, or null. Any thread.
NUBO_MODULE_SCENE_EXPORT util::YPointer<CoarseVersion> coarseVersion(const Geometry& geometry);

}  // namespace nubo::scene
