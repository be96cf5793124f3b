// Reads model files.
#pragma once

#include <QString>
#include <QStringList>

#include "module_scene/graph/animation.h"
#include "module_scene/graph/filecamera.h"
#include "module_scene/io/importcontrol.h"

namespace nubo::io {

struct ImportResult {
  util::YPointer<scene::SceneElement> root;  ///< null on failure; z is up, its own transform is identity
  std::vector<scene::Animation> animations;  ///< of elements below root
  std::vector<scene::FileCamera> cameras;    ///< that stand below root, each with a name of its own
  QStringList variants;                      ///< names of the choices of materials that ImportSettings::variant has
  QString format, reader;                    ///< what the file holds, and which reader has read it
  bool inMetres = false;                     ///< the file says how long its numbers are, and these are metres now
  QString error;                             ///< one line: file and cause; empty on success
  QStringList warnings;                      ///< one line each, such as a texture that is missing

  /// Puts what another file held below this root, beside what is there.
  NUBO_MODULE_SCENE_EXPORT void add(const ImportResult& other);
};

/// Reads a model or point file with its materials, textures and animations; any thread. Every failure, whatever the
/// file holds, comes back as an error: what is not STL or PLY is read in a process of its own.
[[nodiscard]] NUBO_MODULE_SCENE_EXPORT ImportResult importFile(const QString& fileName);
/// The same; `control` ends it early, says how long it may take, and tells how far it is.
[[nodiscard]] NUBO_MODULE_SCENE_EXPORT ImportResult importFile(const QString& fileName, ImportControl& control);

/// Suffixes without dots, lower case, of the formats that importFile reads.
NUBO_MODULE_SCENE_EXPORT QStringList importableSuffixes();

}  // namespace nubo::io
