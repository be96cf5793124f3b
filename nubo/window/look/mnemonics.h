// Letters by which menus are used without a mouse.
#pragma once

#include <QAction>
#include <QList>

namespace nubo::window {

/// Gives each action without a mnemonic a letter that none of the others has, as far as there are any.
void addMnemonics(const QList<QAction*>& actions);

}  // namespace nubo::window
