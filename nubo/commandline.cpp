#include "nubo/commandline.h"

#include <QCommandLineParser>
#include <QFileInfo>

#include "module_scene/gui/camera.h"
#include "nubo/suggestion.h"

namespace nubo::app {

const QString BuiltinScene = QStringLiteral("builtin");

namespace {

const QList<QCommandLineOption>& ownOptions() {
  static const QList<QCommandLineOption> options = {
      {"size", "Size of the scene panel in pixels; pictures take its aspect ratio (1280x720).", "WxH"},
      {"view", "Direction of view: " + gui::Camera::viewNames().join(", ") + ", or AZIMUTH,ELEVATION in degrees.",
       "VIEW"},
      {"background", "Background colour: a name such as white, or #rrggbb.", "COLOUR"},
      {"samples", "Samples per pixel for smooth edges; 0 turns smoothing off (4).", "N"},
      {"turntable", "Turns the scene once around in N steps (in ten seconds, where the scene has no animation).", "N"},
      {"trajectory", "Moves a marker along the points of a CSV file: x, y, z and a value of yours.", "FILE"},
      {"steps", "Uses only these steps of the trajectory, counted from 0.", "FIRST:LAST"},
      {"duration", "Ends the command after this time.", "SECONDS"},
      {"settings", "Uses this settings file instead of your own.", "FILE"},
      {"quiet", "Says nothing but why it failed."},
      {"verbose", "Shows the whole log."},
      {"help", "Shows this help; after a command, that command's parameters."},
      {"version", "Shows the versions of the program and of what it is made of."},
      {"list-commands", "Lists the commands."},
  };
  return options;
}

QStringList ownOptionNames() {
  QStringList names;
  for (const QCommandLineOption& option : ownOptions()) names << "--" + option.names().constFirst();
  return names;
}

/// Takes the values out of the parser; each function sets `line.error` where a value is wrong.
class Reader {
 public:
  Reader(const QCommandLineParser& parser, CommandLine& line) : m_Parser(parser), m_Line(line) {}

  void readAll() {
    m_Line.help = m_Parser.isSet("help");
    m_Line.version = m_Parser.isSet("version");
    m_Line.listCommands = m_Parser.isSet("list-commands");
    if (m_Parser.isSet("quiet")) m_Line.verbosity = Verbosity::Quiet;
    if (m_Parser.isSet("verbose")) m_Line.verbosity = Verbosity::Verbose;
    m_Line.trajectory = m_Parser.value("trajectory");
    m_Line.settingsFile = m_Parser.value("settings");
    readSize();
    readView();
    readBackground();
    readNumber("samples", 0, 64, m_Line.samples);
    readNumber("turntable", 1, 1000000, m_Line.turntable);
    readSteps();
    readDuration();
    if (m_Line.turntable && !m_Line.trajectory.isEmpty())
      m_Line.error = "--turntable and --trajectory exclude each other";
  }

 private:
  void refuse(const QString& option, const QString& expected) {
    m_Line.error = QStringLiteral("--%1 %2: expected %3").arg(option, m_Parser.value(option), expected);
  }

  void readSize() {
    if (!m_Parser.isSet("size")) return;
    const QStringList parts = m_Parser.value("size").split('x', Qt::KeepEmptyParts, Qt::CaseInsensitive);
    bool wide = false, high = false;
    if (parts.size() == 2) m_Line.size = QSize(parts[0].toInt(&wide), parts[1].toInt(&high));
    constexpr int Most = 32768;
    if (!wide || !high || m_Line.size != m_Line.size.expandedTo({1, 1}).boundedTo({Most, Most}))
      refuse("size", QStringLiteral("WIDTHxHEIGHT, each from 1 to %1").arg(Most));
  }

  void readView() {
    m_Line.view = m_Parser.value("view");
    if (m_Parser.isSet("view") && !gui::Camera().setView(m_Line.view)) {
      refuse("view", "a view's name or AZIMUTH,ELEVATION");
      m_Line.error += suggestion(m_Line.view, gui::Camera::viewNames());
    }
  }

  void readBackground() {
    if (!m_Parser.isSet("background")) return;
    m_Line.background.setNamedColor(m_Parser.value("background"));
    if (!m_Line.background.isValid()) {
      refuse("background", "a colour's name or #rrggbb");
      m_Line.error += suggestion(m_Parser.value("background"), QColor::colorNames());
    }
  }

  void readNumber(const QString& option, int least, int most, std::optional<int>& number) {
    if (!m_Parser.isSet(option)) return;
    bool whole = false;
    number = m_Parser.value(option).toInt(&whole);
    if (!whole || *number < least || *number > most)
      refuse(option, QStringLiteral("a whole number from %1 to %2").arg(least).arg(most));
  }

  void readSteps() {
    if (!m_Parser.isSet("steps")) return;
    const QStringList parts = m_Parser.value("steps").split(':');
    bool first = false, last = false;
    if (parts.size() == 2) m_Line.steps = {parts[0].toInt(&first), parts[1].toInt(&last)};
    if (!first || !last || m_Line.steps->first < 0 || m_Line.steps->second < m_Line.steps->first)
      refuse("steps", "FIRST:LAST, two numbers from 0 on with FIRST not above LAST");
  }

  void readDuration() {
    if (!m_Parser.isSet("duration")) return;
    bool number = false;
    m_Line.duration = m_Parser.value("duration").toDouble(&number);
    constexpr double Most = 1e6;
    if (!number || !(*m_Line.duration > 0 && *m_Line.duration <= Most)) refuse("duration", "seconds above 0");
  }

  const QCommandLineParser& m_Parser;
  CommandLine& m_Line;
};

/// What follows the scene and the command: `--name value`, `--name=value`, or `--name` alone.
void readArguments(const QStringList& words, CommandLine& line) {
  for (int i = 0; i < words.size(); ++i) {
    if (!words[i].startsWith("--") || words[i] == "--") {
      line.error = QStringLiteral("%1: expected --PARAMETER VALUE").arg(words[i]);
      return;
    }
    if (words[i] == "--help") {
      line.commandHelp = true;
      continue;
    }
    const int equals = words[i].indexOf('=');
    Argument argument{words[i].mid(2, equals < 0 ? -1 : equals - 2), QString()};
    if (equals >= 0)
      argument.value = words[i].mid(equals + 1) + QLatin1String("");
    else if (i + 1 < words.size() && !words[i + 1].startsWith("--"))
      argument.value = words[++i];
    line.arguments << argument;
  }
}

bool looksLikeScene(const QString& word) {
  return word == BuiltinScene || QFileInfo(word).exists() || word.contains('.') || word.contains('/');
}

}  // namespace

CommandLine parseCommandLine(const QStringList& words) {
  CommandLine line;
  QCommandLineParser parser;
  parser.setOptionsAfterPositionalArgumentsMode(QCommandLineParser::ParseAsPositionalArguments);
  parser.setSingleDashWordOptionMode(QCommandLineParser::ParseAsLongOptions);
  parser.addOptions(ownOptions());
  if (!parser.parse(QStringList{"nubo"} + words)) {
    const QStringList unknown = parser.unknownOptionNames();
    line.error = unknown.isEmpty() ? parser.errorText().section('.', 0, 0)
                                   : QStringLiteral("--%1: unknown option").arg(unknown[0]) +
                                         suggestion("--" + unknown[0], ownOptionNames());
    return line;
  }
  Reader(parser, line).readAll();
  if (!line.error.isEmpty()) return line;

  QStringList rest = parser.positionalArguments();
  if (rest.size() >= 2 && !rest[1].startsWith("--")) line.scene = rest.takeFirst();
  if (!rest.isEmpty()) line.command = rest.takeFirst();
  readArguments(rest, line);
  return line;
}

bool wantsWindow(const CommandLine& line) {
  const bool asks = line.help || line.version || line.listCommands || line.commandHelp;
  const bool isSingle = line.scene.isEmpty() && line.arguments.isEmpty();
  return !asks && (line.command.isEmpty() || (isSingle && looksLikeScene(line.command)));
}

void settleCommand(CommandLine& line, const QStringList& commands) {
  if (line.command.isEmpty() || commands.contains(line.command)) return;
  const bool single = line.scene.isEmpty();
  if (!single || !looksLikeScene(line.command)) {
    line.error = QStringLiteral("%1: unknown command").arg(line.command) + suggestion(line.command, commands);
    return;
  }
  line.scene = line.command;
  line.command.clear();
  if (line.commandHelp) {
    line.help = true;
  } else if (!line.arguments.isEmpty()) {
    line.error = QStringLiteral("--%1: no command stands before it; options of the program stand before the scene")
                     .arg(line.arguments[0].name);
  }
}

QString helpText() {
  QCommandLineParser parser;
  parser.addOptions(ownOptions());
  const QString introduction = QStringLiteral(
      "Usage: nubo [options] [SCENE] [COMMAND [--PARAMETER VALUE ...]]\n\n"
      "Shows a scene in a window or, with a COMMAND, runs that on the scene without a window.\n"
      "SCENE is a model file (glTF, OBJ, STL, PLY, 3DS, COLLADA, FBX, ...) or \"%1\",\n"
      "the built-in scene, which is also what commands get without a SCENE.\n"
      "\"nubo --list-commands\" lists the commands, \"nubo COMMAND --help\" their parameters.\n"
      "Exit status: 0 done, 1 the command failed, 2 the call was wrong, 130 interrupted.\n");
  // The parser's own first line shows the program's path.
  return introduction.arg(BuiltinScene) + parser.helpText().section('\n', 1);
}

}  // namespace nubo::app
