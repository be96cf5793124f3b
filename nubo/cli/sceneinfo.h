// What is in model files.
#pragma once

#include <QStringList>

#include "module_scene/io/importcontrol.h"

namespace nubo::app {

struct SceneInfo {
  QString text;
  bool complete = true;  ///< false: a file could not be read, as the text says
};

/// Reads the files, and tells of each what --info promises: in words, or as a JSON list of an object each.
[[nodiscard]] SceneInfo describeScenes(const QStringList& files, const io::ImportSettings& settings, bool json);

}  // namespace nubo::app
