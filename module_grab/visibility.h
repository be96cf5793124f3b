// What the grab module exports.
#pragma once

#include <QtCore/qglobal.h>

// Symbols are hidden by default; what other libraries may use carries this macro.
#ifdef NUBO_BUILD_MODULE_GRAB
#define NUBO_MODULE_GRAB_EXPORT Q_DECL_EXPORT
#else
#define NUBO_MODULE_GRAB_EXPORT Q_DECL_IMPORT
#endif
