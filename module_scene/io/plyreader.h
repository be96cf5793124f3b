// Binary PLY files of triangles, quadrangles or points.
#pragma once

#include <QString>

#include "module_scene/graph/geometry.h"
#include "module_scene/io/importcontrol.h"

namespace nubo::io {

/// Reads positions, normals, colours and faces, not yet prepared. Null if the file is none of those that
/// are read here: it is text, is textured, or has larger polygons or strips. Throws ImportError, also
/// where `control` ends it.
util::YPointer<scene::Geometry> readBinaryPly(const QString& fileName, ImportControl& control);

}  // namespace nubo::io
