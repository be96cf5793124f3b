#include "nubo/cli/commandline.h"

#include <QCommandLineParser>
#include <QFileInfo>
#include <algorithm>
#include <utility>

#include "module_scene/gui/camera.h"
#include "nubo/cli/suggestion.h"

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
      {"element", "Moves this element of the scene along the points, in place of a marker.", "NAME"},
      {"steps", "Uses only these steps of the trajectory, counted from 0.", "FIRST:LAST"},
      {"duration", "Ends the command after this time.", "SECONDS"},
      {"settings", "Uses this settings file instead of your own.", "FILE"},
      {"quiet", "Says nothing but why it failed."},
      {"verbose", "Shows the whole log."},
      {{"help", "h"}, "Shows this help; after a command, that command's parameters."},
      {{"version", "v"}, "Shows the versions of the program and of what it is made of."},
      {"list-commands", "Lists the commands."},
  };
  return options;
}

QStringList ownOptionNames() {
  QStringList names;
  for (const QCommandLineOption& option : ownOptions()) names << "--" + option.names().constFirst();
  return names;
}

/// Takes the values of the program's options out of words; each function sets `line.error` where a value is wrong.
class Reader {
 public:
  explicit Reader(CommandLine& line) : m_Line(line) {
    m_Parser.setOptionsAfterPositionalArgumentsMode(QCommandLineParser::ParseAsPositionalArguments);
    m_Parser.setSingleDashWordOptionMode(QCommandLineParser::ParseAsLongOptions);
    m_Parser.addOptions(ownOptions());
  }

  /// Returns what follows the options, and keeps those.
  QStringList read(const QStringList& words) {
    if (!m_Parser.parse(QStringList{"nubo"} + words)) {
      const QStringList unknown = m_Parser.unknownOptionNames();
      m_Line.error = unknown.isEmpty() ? m_Parser.errorText().section('.', 0, 0)
                                       : QStringLiteral("--%1: unknown option").arg(unknown[0]) +
                                             suggestion("--" + unknown[0], ownOptionNames());
      return QStringList();
    }
    readAll();
    const QStringList rest = m_Parser.positionalArguments();
    m_Line.options = words.mid(0, words.size() - rest.size());
    return rest;
  }

 private:
  void readAll() {
    m_Line.help = m_Parser.isSet("help");
    m_Line.version = m_Parser.isSet("version");
    m_Line.listCommands = m_Parser.isSet("list-commands");
    if (m_Parser.isSet("quiet")) m_Line.verbosity = Verbosity::Quiet;
    if (m_Parser.isSet("verbose")) m_Line.verbosity = Verbosity::Verbose;
    readText("trajectory", "a file name", m_Line.trajectory);
    readText("element", "an element's name", m_Line.element);
    readText("settings", "a file name", m_Line.settingsFile);
    // Settings are stored in a new file in the place of the old one, which is to be no pipe, device or directory.
    const QFileInfo settings(m_Line.settingsFile);
    if (settings.exists() && !settings.isFile()) refuse("settings", "an ordinary file, or a new one");
    readSize();
    readView();
    readBackground();
    readNumber("samples", 0, 64, m_Line.samples);
    readNumber("turntable", 1, 1000000, m_Line.turntable);
    readSteps();
    readDuration();
  }

  void refuse(const QString& option, const QString& expected) {
    const QString value = m_Parser.value(option);
    m_Line.error = QStringLiteral("--%1 %2: expected %3").arg(option, value.isEmpty() ? "\"\"" : value, expected);
  }

  void readText(const QString& option, const QString& expected, QString& text) {
    text = m_Parser.value(option);
    if (m_Parser.isSet(option) && text.isEmpty()) refuse(option, expected);
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
    if (!number || !(*m_Line.duration > 0 && *m_Line.duration <= Most))
      refuse("duration", QStringLiteral("seconds above 0, up to %1").arg(int(Most)));
  }

  QCommandLineParser m_Parser;
  CommandLine& m_Line;
};

/// How many words at the begin of these are options of the program's with their values.
int countOptionWords(const QStringList& words) {
  int count = 0;
  while (count < words.size() && words[count].startsWith("--")) {
    const QString name = words[count].mid(2).section('=', 0, 0);
    const auto option = std::find_if(ownOptions().begin(), ownOptions().end(),
                                     [&](const QCommandLineOption& own) { return own.names().contains(name); });
    if (option == ownOptions().end()) break;
    count += option->valueName().isEmpty() || words[count].contains('=') ? 1 : 2;
  }
  return count;
}

/// What follows the scenes and the command: `--name value`, `--name=value`, or `--name` alone.
void readArguments(const QStringList& words, CommandLine& line) {
  for (int i = 0; i < words.size(); ++i) {
    if (words[i] == "--help" || words[i] == "-h") {
      line.commandHelp = true;
      continue;
    }
    if (!words[i].startsWith("--") || words[i] == "--") {
      line.error = QStringLiteral("%1: expected --PARAMETER VALUE").arg(words[i]);
      return;
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

/// Takes the program's own options out of the arguments.
void adoptOptions(CommandLine& line, const QStringList& parameters) {
  const QStringList own = ownOptionNames();
  QStringList words = line.options;
  Arguments kept;
  for (const Argument& argument : line.arguments) {
    const QString option = "--" + argument.name;
    if (parameters.contains(argument.name) || !own.contains(option))
      kept << argument;
    else if (argument.name == "settings")
      line.error = "--settings stands before the scene and the command, which are read with it";
    else
      words << (argument.value.isNull() ? option : option + '=' + argument.value);
  }
  if (line.error.isEmpty()) Reader(line).read(words);
  line.arguments = kept;
}

/// Names that should be scenes, and are something else.
QString whyNoScenes(const CommandLine& line, const QStringList& names, const QStringList& commands) {
  for (int i = 0; i < names.size(); ++i) {
    if (names[i].isEmpty() || looksLikeScene(names[i])) continue;
    if (commands.contains(names[i]))
      return QStringLiteral("%1: expected --PARAMETER VALUE after %2; scenes stand before the command")
          .arg(i + 1 < names.size() ? names[i + 1] : line.command, names[i]);
    const bool isFollowed = i == line.scenes.size() && !line.arguments.isEmpty();
    return names[i] + (isFollowed ? ": unknown command" : ": neither a command nor a file") +
           suggestion(names[i], commands + ownOptionNames());
  }
  return QString();
}

/// Options that are right by themselves, but not together.
QString whyInconsistent(const CommandLine& line) {
  if (line.turntable && !line.trajectory.isEmpty())
    return QStringLiteral("--turntable and --trajectory exclude each other");
  if (!line.element.isEmpty() && line.trajectory.isEmpty())
    return QStringLiteral("--element: --trajectory FILE is missing, with the points to move it along");
  return QString();
}

}  // namespace

CommandLine parseCommandLine(const QStringList& words) {
  CommandLine line;
  QStringList rest = Reader(line).read(words);
  if (!line.error.isEmpty()) return line;
  QStringList options = line.options;
  // Options before another name belong to the program; after the last, the command may have one of the same name.
  for (int count = 0; count < rest.size() && !rest[count].startsWith('-'); count = countOptionWords(rest)) {
    options << rest.mid(0, count);
    line.scenes << rest[count];
    rest = rest.mid(count + 1);
  }
  if (options != line.options) Reader(line).read(options);
  if (!line.scenes.isEmpty()) line.command = line.scenes.takeLast();
  readArguments(rest, line);
  return line;
}

bool wantsWindow(const CommandLine& line) {
  if (line.help || line.version || line.listCommands || line.commandHelp) return false;
  const QStringList names = line.scenes + QStringList{line.command};
  if (!std::all_of(names.begin(), names.end(), [](const QString& n) { return n.isEmpty() || looksLikeScene(n); }))
    return false;
  const QStringList own = ownOptionNames();
  return std::all_of(line.arguments.begin(), line.arguments.end(), [&](const Argument& argument) {
    return own.contains("--" + argument.name) && argument.name != "version" && argument.name != "list-commands";
  });
}

void settleCommand(CommandLine& line, const QStringList& commands, const ParameterNames& parameters) {
  const bool isCommand = commands.contains(line.command);
  line.error = whyNoScenes(line, isCommand ? line.scenes : line.scenes + QStringList{line.command}, commands);
  if (!line.error.isEmpty()) return;
  adoptOptions(line, isCommand ? parameters(line.command) : QStringList());
  if (!isCommand) {
    if (!line.command.isEmpty()) line.scenes << std::exchange(line.command, QString());
    line.help = line.help || line.commandHelp;
    if (line.error.isEmpty() && !line.arguments.isEmpty())
      line.error = QStringLiteral("--%1: no command stands before it").arg(line.arguments[0].name);
  }
  if (line.error.isEmpty()) line.error = whyInconsistent(line);
}

QString whyFilesMissing(const CommandLine& line) {
  QStringList files = line.scenes;
  files.removeAll(BuiltinScene);
  if (!line.trajectory.isEmpty()) files << line.trajectory;
  for (const QString& file : files) {
    const QFileInfo info(file);
    if (!info.exists()) return QStringLiteral("cannot read '%1': there is no such file").arg(file);
    if (info.isDir()) return QStringLiteral("cannot read '%1': it is a directory").arg(file);
  }
  return QString();
}

QString helpText() {
  QCommandLineParser parser;
  parser.addOptions(ownOptions());
  const QString introduction = QStringLiteral(
      "Usage: nubo [options] [SCENE ...] [COMMAND [--PARAMETER VALUE ...]]\n\n"
      "Shows a scene in a window or, with a COMMAND, runs that on the scene without a window.\n"
      "SCENE is a model file (glTF, OBJ, STL, PLY, 3DS, COLLADA, FBX, ...) or \"%1\",\n"
      "the built-in scene, which is also what commands get without a SCENE. Several make up one scene.\n"
      "A file that is named like a command is written ./NAME. Options may also follow the command.\n"
      "\"nubo --list-commands\" lists the commands, \"nubo COMMAND --help\" their parameters and file formats.\n"
      "Exit status: 0 done, 1 the command failed, 2 the call was wrong, 130 interrupted.\n");
  // The parser's own first line shows the program's path.
  return introduction.arg(BuiltinScene) + parser.helpText().section('\n', 1);
}

}  // namespace nubo::app
