// Which sizes a picture may have.
#pragma once

#include <QString>

#include "module_grab/visibility.h"

namespace nubo::commands::grab {

/// Memory that building a picture of that size and writing it to a file with that suffix takes, in megabytes of
/// 1,000,000 bytes.
NUBO_MODULE_GRAB_EXPORT double megabytesFor(const QString& suffix, int width, int height);

/// Empty, or a sentence that says why a picture of that size cannot be made and kept in a file with that suffix. Tries
/// it with a row and a column of the picture, so that each writer's own limits count. Any thread.
NUBO_MODULE_GRAB_EXPORT QString whyNotPossible(const QString& suffix, int width, int height);

}  // namespace nubo::commands::grab
