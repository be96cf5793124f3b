// What the kernel library exports.
#pragma once

#include <QtCore/qglobal.h>

// Symbols are hidden by default; what other libraries may use carries this macro.
#ifdef NUBO_BUILD_KERNEL
#define NUBO_KERNEL_EXPORT Q_DECL_EXPORT
#else
#define NUBO_KERNEL_EXPORT Q_DECL_IMPORT
#endif
