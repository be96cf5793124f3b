// What an exception says.
#pragma once

#include <QString>

#include "kernel/visibility.h"

namespace nubo::util {

/// The text of the exception being handled, whatever its type. Only within a catch block; any thread.
NUBO_KERNEL_EXPORT QString exceptionText();

}  // namespace nubo::util
