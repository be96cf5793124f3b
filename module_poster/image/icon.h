// The icon that is compiled in.
#pragma once

#include <QIcon>

namespace nubo::poster {

/// Null in a program that is linked to this library and so loads it before it has an application, without which Qt ends
/// the program when an icon is made. Application thread.
QIcon loadIcon();

}  // namespace nubo::poster
