// The bodies that a robot is described with, as triangles.
#pragma once

#include "module_scene/io/reader/reader.h"

namespace nubo::reader {

/// All around the origin; a cylinder's axis is z. Lengths are in metres.
Mesh boxOf(double x, double y, double z, Output& output);
Mesh cylinderOf(double radius, double length, Output& output);
Mesh sphereOf(double radius, Output& output);

}  // namespace nubo::reader
