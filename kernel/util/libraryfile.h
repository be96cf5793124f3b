// Looks at the files of libraries.
#pragma once

#include <QString>

#include "kernel/visibility.h"

namespace nubo::util {

/// Whether a library is shorter than its own headers say, such as one that was not copied to its end. Loading it would
/// end the program by a signal; files that are broken otherwise are refused by the loader. Any thread.
NUBO_KERNEL_EXPORT bool isCutOff(const QString& fileName);

/// The folder of the loaded library, or program, that has this address. Any thread.
NUBO_KERNEL_EXPORT QString folderOfLibrary(const void* address);

}  // namespace nubo::util
