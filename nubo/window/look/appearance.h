// Light or dark.
#pragma once

#include <QString>
#include <QStringList>

namespace nubo::window {

/// "system", "light" and "dark".
QStringList appearances();
/// Gives the application the palette of that name (the system's for an unknown one), and a style whose boxes show on
/// dark palettes. Application thread.
void applyAppearance(const QString& name);

}  // namespace nubo::window
