// What the program can tell about itself without a scene.
#pragma once

#include <QString>

namespace nubo::app {

/// The text of --version: the program, what it is built on, the modules and what they bring. Modules are loaded.
QString versionText();
/// The version of OpenGL and who draws with it; "none" where there is none.
QString openGLText();
/// The text of --list-commands: a line for each command.
QString commandListText();

}  // namespace nubo::app
