// Reads several files at once.
#pragma once

#include <functional>
#include <vector>

#include "module_scene/io/importer.h"

namespace nubo::io {

/// What becomes of the files behind one that cannot be read.
enum class Others { AreRead, AreGivenUp };

using Read = std::function<ImportResult(const QString&, ImportControl&)>;

/// Calls `read` for each file, on threads of its own: for as many at once as there are cores, and as will have room in
/// memory. Returns when all are done, in the order of `files`. Which failure comes first does not depend on which file
/// takes longest, since files before it are always read. `control` tells how far all are together, and ends all.
[[nodiscard]] NUBO_MODULE_SCENE_EXPORT std::vector<ImportResult> readSideBySide(const QStringList& files,
                                                                                ImportControl& control, Others others,
                                                                                const Read& read);

}  // namespace nubo::io
