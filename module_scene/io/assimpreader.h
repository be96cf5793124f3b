// Reads all the formats that Assimp knows.
#pragma once

#include <QString>
#include <QStringList>

struct aiScene;

namespace nubo::io {

struct ImportResult;

/// Fills in root, animations and warnings; geometries are prepared. Throws ImportError. Any thread: Assimp's
/// log is shared by all, so files are read one at a time.
void readWithAssimp(const QString& fileName, ImportResult& result);

/// Suffixes without dots, lower case.
QStringList assimpSuffixes();

}  // namespace nubo::io
