// The vertices of a geometry, each once and in the order in which they are drawn.
#pragma once

#include <cstdint>

#include "kernel/util/largememory.h"
#include "module_scene/graph/geometry.h"

namespace nubo::scene {

/// Puts the vertices in the order in which the indices first use them, equal ones once and unused ones not at all.
/// Negative zeros must have been made positive. Returns for each vertex the number of its place, numbered in the order
/// in which the vertices first have them; nothing where no two vertices have the same place, or there are no faces.
util::Scratch<std::uint32_t> joinVertices(Geometry& g);

/// Gives each cluster vertices of its own, in the order in which its indices use them.
void separateClusters(Geometry& g);

/// Sets the boxes of the clusters, which have their vertices, and of all.
void setBounds(Geometry& g);

}  // namespace nubo::scene
