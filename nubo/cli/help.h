// The texts of --help, and what they are made of.
#pragma once

#include <QString>
#include <QStringList>
#include <vector>

namespace nubo::main {
class Command;
class ParameterSet;
}  // namespace nubo::main

namespace nubo::app {

/// What is written on the command line, what it means, and lines that go below that.
struct HelpEntry {
  QString written;
  QString meaning;
  QStringList below = {};
};

/// The program's options, and the parameters of a command as options. Application thread.
std::vector<HelpEntry> optionEntries();
std::vector<HelpEntry> parameterEntries(const main::ParameterSet& set);

/// The text of "nubo --help": the call and the program's options.
QString helpText();
/// The text of "nubo COMMAND --help": the command's parameters with their defaults and file formats. Application
/// thread.
QString commandHelpText(main::Command& command);

}  // namespace nubo::app
