// What the poster module exports.
#pragma once

#include <QtCore/qglobal.h>

// Symbols are hidden by default; what the host calls and tests use carries this macro.
#ifdef NUBO_BUILD_MODULE_POSTER
#define NUBO_MODULE_POSTER_EXPORT Q_DECL_EXPORT
#else
#define NUBO_MODULE_POSTER_EXPORT Q_DECL_IMPORT
#endif
