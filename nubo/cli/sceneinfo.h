// What is in model files.
#pragma once

#include <QStringList>

#include "module_scene/io/importcontrol.h"

namespace nubo::app {

struct SceneInfo {
  QString text;
  QStringList errors;  ///< of the files that could not be read; JSON has them, too
};

/// Reads the files, and tells of each what --info promises: in words, or as a JSON list of an object each.
[[nodiscard]] SceneInfo describeScenes(const QStringList& files, const io::ImportSettings& settings, bool json);

}  // namespace nubo::app
