// Binary STL files, without a detour through anybody's own copy of the triangles.
#pragma once

#include <QString>

#include "module_scene/graph/geometry.h"

namespace nubo::io {

/// Whether the file is a binary STL without colours, which readStl reads.
bool isPlainBinaryStl(const QString& fileName);

/// The triangles with their corners joined by position, not yet prepared. The normals in the file are
/// ignored: they are those of flat faces, at best. Throws ImportError.
util::YPointer<scene::Geometry> readStl(const QString& fileName);

}  // namespace nubo::io
