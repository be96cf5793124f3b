// Where plug-ins lie that do not come with the program.
#pragma once

#include <QStringList>

#include "kernel/visibility.h"

namespace nubo::util {

/// The folders of a kind of plug-ins, "modules" or "plugins/video", that are looked through after the program's own:
/// the one in the user's folder of data, then those below the folders that NUBO_PLUGIN_PATH lists, with colons between
/// them. Any thread.
NUBO_KERNEL_EXPORT QStringList furtherPluginFolders(const QString& kind);

}  // namespace nubo::util
