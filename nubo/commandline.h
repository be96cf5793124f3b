// What the user wrote after the program's name.
#pragma once

#include <QColor>
#include <QSize>
#include <QStringList>
#include <QVector>
#include <optional>
#include <utility>

#include "nubo/commandarguments.h"

namespace nubo::app {

enum class Verbosity { Quiet, Normal, Verbose };

/// The program's own options, the scene, and a command with its arguments.
struct CommandLine {
  QString error;  ///< one line, when the call was wrong; nothing else counts then

  bool help = false;
  bool version = false;
  bool listCommands = false;
  QSize size{1280, 720};
  QString view;       ///< a name or angles; empty: as the panel has it
  QColor background;  ///< invalid: as the scene has it
  std::optional<int> samples;
  std::optional<int> turntable;
  QString trajectory;
  std::optional<std::pair<int, int>> steps;  ///< first and last, counted from 0, both included
  std::optional<double> duration;            ///< seconds
  QString settingsFile;
  Verbosity verbosity = Verbosity::Normal;

  QString scene;    ///< "builtin" or a file name
  QString command;  ///< empty: none given
  Arguments arguments;
  bool commandHelp = false;  ///< --help stood among the command's arguments
};

/// The built-in scene's name on the command line.
extern const QString BuiltinScene;

/// Reads the words after the program's name. With a single word that is no option, `command` holds it until
/// settleCommand knows better.
[[nodiscard]] CommandLine parseCommandLine(const QStringList& words);
/// Decides whether a single word was a scene or a command, and refuses unknown commands.
void settleCommand(CommandLine& line, const QStringList& commands);
/// Whether the call asks for a window: it names no command, and nothing to be answered on the terminal. Before
/// settleCommand, when modules are not loaded yet.
[[nodiscard]] bool wantsWindow(const CommandLine& line);
/// The text of --help.
QString helpText();

}  // namespace nubo::app
