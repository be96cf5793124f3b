// What the user wrote after the program's name.
#pragma once

#include <QColor>
#include <QSize>
#include <QStringList>
#include <QVector>
#include <functional>
#include <optional>
#include <utility>

#include "nubo/cli/commandarguments.h"

namespace nubo::app {

enum class Verbosity { Quiet, Normal, Verbose };

/// The program's own options, the scenes, and a command with its arguments.
struct CommandLine {
  QString error;        ///< one line, when the call was wrong; nothing else counts then
  QStringList options;  ///< the words that the program's own options were read from

  bool help = false;
  bool version = false;
  bool listCommands = false;
  QSize size{1280, 720};
  QString view;       ///< a name or angles; empty: as the panel has it
  QColor background;  ///< invalid: as the scene has it
  std::optional<int> samples;
  std::optional<int> turntable;
  QString trajectory;
  QString element;                           ///< what a trajectory of points moves; empty: a marker
  std::optional<std::pair<int, int>> steps;  ///< first and last, counted from 0, both included
  std::optional<double> duration;            ///< seconds
  QString settingsFile;
  Verbosity verbosity = Verbosity::Normal;

  QStringList scenes;  ///< "builtin" or file names, which make up one scene
  QString command;     ///< empty: none given
  Arguments arguments;
  bool commandHelp = false;  ///< --help stood among the command's arguments
};

/// The built-in scene's name on the command line.
extern const QString BuiltinScene;

/// Reads the words after the program's name. The last of the names that follow its first options is held by `command`,
/// and options after it by `arguments`, until settleCommand knows better.
[[nodiscard]] CommandLine parseCommandLine(const QStringList& words);
/// Parameters of a command, as options are named.
using ParameterNames = std::function<QStringList(const QString& command)>;
/// Decides whether the last name was a scene or a command, and refuses unknown commands. Arguments that are no
/// parameters of the command's, but options of the program's, become those.
void settleCommand(CommandLine& line, const QStringList& commands, const ParameterNames& parameters);
/// Whether the call asks for a window: it names scenes only, and nothing to be answered on the terminal. Before
/// settleCommand, when modules are not loaded yet.
[[nodiscard]] bool wantsWindow(const CommandLine& line);
/// One line that names a file which the call has read, and which is not there; else the empty text.
[[nodiscard]] QString whyFilesMissing(const CommandLine& line);
/// The text of --help.
QString helpText();

}  // namespace nubo::app
