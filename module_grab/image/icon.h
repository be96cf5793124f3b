// The icons that are compiled in.
#pragma once

#include <QIcon>
#include <QString>

namespace nubo::grab {

/// The icon ":/module_grab/image/NAME.png". Null in a program that is linked to this library and so loads it before it
/// has an application, without which Qt ends the program when an icon is made. Application thread.
QIcon loadIcon(const QString& name);

}  // namespace nubo::grab
