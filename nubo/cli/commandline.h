// What the user wrote after the program's name.
#pragma once

#include <QSize>
#include <QStringList>
#include <map>
#include <optional>
#include <utility>

#include "module_scene/graph/background.h"
#include "module_scene/graph/look.h"
#include "module_scene/math/matrix.h"
#include "nubo/cli/commandarguments.h"
#include "nubo/cli/drawingscale.h"
#include "nubo/cli/sectionplace.h"

namespace nubo::app {

enum class Verbosity { Quiet, Normal, Verbose };

/// The program's own options, the scenes, and a command with its arguments.
struct CommandLine {
  QString error;  ///< one line, when the call was wrong; nothing else counts then

  bool commandHelp = false;  ///< --help stood among the command's arguments
  bool help = false;
  bool version = false;
  bool listCommands = false;
  bool info = false;
  bool json = false;
  bool manual = false;
  bool complete = false;
  bool orthographic = false;
  bool edges = false;
  bool dryRun = false;
  bool noOverwrite = false;
  QStringList completed;  ///< the words behind --complete
  QSize size{1280, 720};
  QString view;                                  ///< a name or angles; empty: as the panel has it
  std::optional<math::Vector3> eye, target, up;  ///< of the camera, in the scene's coordinates
  std::optional<double> roll;                    ///< degrees
  std::optional<double> zoom;
  std::optional<DrawingScale> scale;            ///< of a picture on paper
  std::optional<double> viewHeight;             ///< in the scene's units; follows from the scale
  QString cameraPath;                           ///< a file of its places; empty: the camera stands still
  std::optional<double> margin;                 ///< percent of the view, at each of its sides
  std::optional<scene::Background> background;  ///< or as the scene has it
  QString backgroundImage;                      ///< a file's name; empty: none
  bool backgroundInPicture = false;
  std::optional<scene::Look> look;
  std::optional<bool> contact;
  QString environment;  ///< a panorama's file name; empty: the studio
  bool ground = false;
  std::optional<SectionPlace> section;
  std::optional<int> samples;
  std::optional<int> turntable;
  QString animation;  ///< of the scene's; empty: those that go together
  QString variant;    ///< of the scene's materials; empty: those that a file has first
  QString trajectory;
  QString element;                           ///< what a trajectory of points moves; empty: a marker
  std::optional<std::pair<int, int>> steps;  ///< first and last, counted from 0, both included
  std::optional<double> duration;            ///< seconds
  std::optional<double> readTimeout;         ///< seconds that a reader may get no further
  std::optional<double> fineness;            ///< of triangles that stand for curved surfaces; 1: as usual
  QString settingsFile;
  QString reportFile;  ///< empty: none
  Verbosity verbosity = Verbosity::Normal;

  Arguments options;   ///< as they were given, in order
  QStringList scenes;  ///< "builtin" or file names, which make up one scene
  QString command;     ///< empty: none given
  Arguments arguments;

  /// Whether the call is answered on the terminal.
  bool asks() const { return help || version || listCommands || commandHelp || info || manual || complete; }
  /// Whether the call asks for a window.
  bool wantsWindow() const { return command.isEmpty() && !asks(); }
};

/// The built-in scene's name on the command line.
extern const QString BuiltinScene;
/// The view that stands for all that a scene has.
extern const QString AllViews;
/// As a scene: a model of any format that is known by its content comes from standard input.
extern const QString StandardInput;
/// Has the record of a run written to standard output.
extern const QString StandardOutputName;

/// The names of all commands with their parameters, which are named as options are.
using Commands = std::map<QString, QStringList>;

/// Reads the words after the program's name before it is known which commands there are: the first name that cannot be
/// a scene's is taken for the command's, and what follows that is left for the next time.
[[nodiscard]] CommandLine parseCommandLine(const QStringList& words);
/// Reads all of them. Options behind the command are the program's, unless the command has a parameter of that name.
[[nodiscard]] CommandLine parseCommandLine(const QStringList& words, const Commands& commands);
/// One line that names a file which the call has read, and which is not there; else the empty text.
[[nodiscard]] QString whyFilesMissing(const CommandLine& line);

}  // namespace nubo::app
