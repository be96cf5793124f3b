// Binary STL files, without a detour through anybody's own copy of the triangles.
#pragma once

#include <QString>

#include "module_scene/graph/geometry.h"
#include "module_scene/io/importcontrol.h"

namespace nubo::io {

/// Whether a file of that size with these first bytes (512, or all) is exactly as long as a binary STL would be.
bool hasSizeOfBinaryStl(const QByteArray& firstBytes, qint64 size);

/// The triangles, corners of the same place joined already, not yet prepared. The normals in the file are
/// ignored: they are those of flat faces, at best. Null for files that another reader must read: text, and triangles
/// with colours. Throws ImportError, also where `control` ends it.
util::YPointer<scene::Geometry> readBinaryStl(const QString& fileName, ImportControl& control);

}  // namespace nubo::io
