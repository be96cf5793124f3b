// How much memory the process may still take, for the choice between memory and file chunks.
#pragma once

#include <QString>
#include <cstdint>

#include "module_grab/visibility.h"

namespace nubo::grab {

/// Bytes of physical memory that this process may still take: what the system has available, or what is left of
/// the control group's limit or of the process's address space where that is smaller. 0 where the system does not tell.
/// Any thread.
NUBO_MODULE_GRAB_EXPORT std::uint64_t freeMemory();

/// As freeMemory(), told by the Linux kernel's files (proc/..., sys/fs/cgroup/...) under `root`: empty for the
/// real ones, or a folder that holds copies.
NUBO_MODULE_GRAB_EXPORT std::uint64_t freeMemoryUnder(const QString& root);

}  // namespace nubo::grab
