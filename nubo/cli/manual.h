// The manual page.
#pragma once

#include <QString>

namespace nubo::app {

/// The page nubo(1) in the language of man: the program's options, and each command that there is with its parameters.
/// Modules are loaded. Application thread.
QString manualText();

}  // namespace nubo::app
