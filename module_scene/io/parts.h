// Models that are put together of several files.
#pragma once

#include <functional>

#include "module_scene/io/modelbuilder.h"

namespace nubo::io {

/// Reads the files that belong into elements of `result`, each once, with `read`, and puts what they hold there. What
/// cannot be read is a warning.
void addParts(const std::vector<ModelBuilder::Part>& parts, const std::function<ImportResult(const QString&)>& read,
              ImportResult& result);

}  // namespace nubo::io
