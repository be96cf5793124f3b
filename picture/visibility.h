// What the picture library exports.
#pragma once

#include <QtCore/qglobal.h>

// Symbols are hidden by default; what other libraries may use carries this macro.
#ifdef NUBO_BUILD_PICTURE
#define NUBO_PICTURE_EXPORT Q_DECL_EXPORT
#else
#define NUBO_PICTURE_EXPORT Q_DECL_IMPORT
#endif
