// The reader of the many formats, in a library of its own: Assimp brings others along, of which somebody who looks at
// an STL file needs none.
#pragma once

#include <QString>
#include <QStringList>

namespace nubo::io {

struct ImportResult;

/// What the library module_scene_assimp offers, by these names. It is loaded on first use, and stays. Any thread.
struct AssimpLibrary {
  /// Fills in root, animations and warnings; geometries are prepared. Throws ImportError.
  void (*readWithAssimp)(const QString& fileName, ImportResult& result) = nullptr;
  /// Suffixes without dots, lower case.
  void (*listSuffixes)(QStringList& suffixes) = nullptr;

  /// Throws ImportError where the library cannot be had.
  static const AssimpLibrary& instance();
};

}  // namespace nubo::io
