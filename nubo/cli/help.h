// The texts of --help.
#pragma once

#include <QString>

namespace nubo::main {
class Command;
}

namespace nubo::app {

/// The text of "nubo --help": the call and the program's options.
QString helpText();
/// The text of "nubo COMMAND --help": the command's parameters with their defaults and file formats. Application
/// thread.
QString commandHelpText(main::Command& command);

}  // namespace nubo::app
