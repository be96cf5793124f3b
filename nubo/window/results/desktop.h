// What is left to the desktop to do with files.
#pragma once

#include <QString>

namespace nubo::window {

/// In the program that the desktop has for such files.
void openOnDesktop(const QString& fileName);
/// Selected in the file manager, where there is one that can be asked for it; else its folder is opened.
void showInFolder(const QString& fileName);
/// To the clipboard: as a file and, if it is a picture that is not too large for it, as a picture.
void copyFile(const QString& fileName);

}  // namespace nubo::window
