// Reads all the formats that Assimp knows; the entry points are those of AssimpLibrary.
#pragma once

#include <QString>
#include <QStringList>

namespace nubo::io {
struct ImportResult;
}

/// Assimp's log is shared by all, so files are read one at a time.
extern "C" Q_DECL_EXPORT void readWithAssimp(const QString& fileName, nubo::io::ImportResult& result);
extern "C" Q_DECL_EXPORT void listSuffixes(QStringList& suffixes);
