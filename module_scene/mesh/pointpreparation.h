// Makes points ready to be drawn.
#pragma once

#include "module_scene/graph/geometry.h"

namespace nubo::scene {

/// Does for points, of which there may be very many, what else is done for vertices and primitives apart: sorts them
/// into clusters, leaves out those that are there already, and lays each cluster's side by side, so that a point's
/// index is its place, in an order in which the first of them, however many, are spread evenly over the cluster. Uses
/// all cores.
void preparePoints(Geometry& points);

}  // namespace nubo::scene
