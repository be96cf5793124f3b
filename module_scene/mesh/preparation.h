// Makes a geometry that was filled ready to be drawn.
#pragma once

#include "module_scene/graph/geometry.h"

namespace nubo::scene {

/// Joins equal vertices, computes smooth normals for faces that lack them, sorts the primitives into spatial clusters
/// with vertices of their own, and sets all that Geometry says comes from here. Indices out of range must not occur.
/// Any thread, before the geometry is part of a scene.
NUBO_MODULE_SCENE_EXPORT void prepare(Geometry& geometry);
/// Of faces, in their own units: what Geometry::longestEdge is for those that nothing bends.
float longestEdgeOf(const Geometry& faces);

}  // namespace nubo::scene
