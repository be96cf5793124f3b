// Binary PLY files of triangles, quadrangles or points.
#pragma once

#include <QString>

#include "module_scene/graph/geometry.h"

namespace nubo::io {

/// Reads positions, normals, colours and faces, not yet prepared. Null if the file is none of those that
/// are read here: it is text, is textured, or has larger polygons or strips. Throws ImportError.
util::YPointer<scene::Geometry> readBinaryPly(const QString& fileName);

}  // namespace nubo::io
