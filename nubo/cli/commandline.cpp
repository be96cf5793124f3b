#include "nubo/cli/commandline.h"

#include <QFileInfo>
#include <algorithm>
#include <utility>

#include "nubo/cli/option.h"
#include "nubo/cli/suggestion.h"

namespace nubo::app {

const QString BuiltinScene = QStringLiteral("builtin");
const QString StandardInput = QStringLiteral("-");
const QString StandardOutputName = QStringLiteral("-");
const QString AllViews = QStringLiteral("all");

namespace {

bool looksLikeScene(const QString& word) {
  return word.isEmpty() || word == BuiltinScene || word == StandardInput || QFileInfo::exists(word) ||
         word.contains('.') || word.contains('/');
}

QString unknownOption(const QString& word) {
  const QString near = suggestion(word, optionWords());
  return word + QStringLiteral(": unknown option") +
         (!near.isEmpty()        ? near
          : looksLikeScene(word) ? QStringLiteral("; if it is a file, write ./%1").arg(word)
                                 : QStringLiteral("; a command's parameters stand after its name"));
}

/// Reads words from left to right, until one is wrong.
class Reader {
 public:
  /// Without `commands` it is not known yet which there are.
  Reader(const QStringList& words, const Commands* commands, CommandLine& line)
      : m_Rest(words), m_Commands(commands), m_Line(line) {}

  void read() {
    while (goesOn() && m_Line.command.isEmpty()) readWord();
    if (m_Line.error.isEmpty() && m_Commands) m_Line.error = whyNoScenes();
    if (!m_Commands && !m_Line.command.isEmpty())
      m_Line.commandHelp = m_Rest.contains("--help") || m_Rest.contains("-h");
    else
      while (goesOn()) readArgument();
    if (!m_Line.command.isEmpty()) m_Line.commandHelp = std::exchange(m_Line.help, false) || m_Line.commandHelp;
  }

 private:
  bool goesOn() const { return m_Line.error.isEmpty() && !m_Rest.isEmpty(); }
  static QString nameOf(const QString& word) { return word.section('=', 0, 0); }

  /// The next name, option or separator in front of the command.
  void readWord() {
    const QString word = m_Rest.first();
    const Option* option = m_OptionsEnded ? nullptr : findOption(nameOf(word));
    if (option) return readOption(*option);
    if (m_OptionsEnded || !word.startsWith('-') || word == StandardInput) return readName(m_Rest.takeFirst());
    if (word == "--") {
      m_OptionsEnded = true;
      m_Rest.removeFirst();
    } else if (!m_Commands && !m_Line.scenes.isEmpty()) {
      m_Line.command = m_Line.scenes.takeLast();
    } else {
      m_Line.error = m_Commands ? whyNoScenes() : QString();
      if (m_Line.error.isEmpty()) m_Line.error = unknownOption(nameOf(word));
    }
  }

  void readName(const QString& name) {
    if (m_Commands ? m_Commands->count(name) > 0 : !looksLikeScene(name))
      m_Line.command = name;
    else
      m_Line.scenes << name;
  }

  void readOption(const Option& option) {
    const QString word = m_Rest.takeFirst();
    const int equals = word.indexOf('=');
    QString value = equals < 0 ? QString() : word.mid(equals + 1);
    if (option.value.isEmpty() && equals >= 0) return refuse(option, " takes no value");
    if (option.takesRest) m_Line.completed = std::exchange(m_Rest, {});
    if (!option.value.isEmpty() && equals < 0 && !option.takesRest) {
      if (m_Rest.isEmpty()) return refuse(option, " needs a value");
      value = m_Rest.takeFirst();
    }
    m_Line.options << Argument{option.name, value};
    const QString expected = option.take(value, m_Line);
    if (!expected.isEmpty())
      refuse(option, QStringLiteral(" %1: expected %2%3")
                         .arg(value.isEmpty() ? "\"\"" : value, expected, suggestion(value, option.choices)));
  }

  void refuse(const Option& option, const QString& reason) { m_Line.error = option.written() + reason; }

  /// What follows the command: `--name value`, `--name=value`, or `--name` alone.
  void readArgument() {
    const QString word = m_Rest.first();
    const QString name = nameOf(word);
    const Option* option = findOption(name);
    if (option && !m_Commands->at(m_Line.command).contains(option->name)) return readLateOption(*option);
    m_Rest.removeFirst();
    if (!word.startsWith("--") || word == "--") {
      m_Line.error = QStringLiteral("%1: expected --PARAMETER VALUE after %2; scenes stand before the command")
                         .arg(word, m_Line.command);
      return;
    }
    Argument argument{name.mid(2), QString()};
    if (name != word)
      argument.value = word.mid(name.size() + 1) + QLatin1String("");
    else if (!m_Rest.isEmpty() && !m_Rest.first().startsWith("--"))
      argument.value = m_Rest.takeFirst();
    m_Line.arguments << argument;
  }

  void readLateOption(const Option& option) {
    if (option.beforeCommand) return refuse(option, " stands before the command");
    readOption(option);
  }

  /// Names that should be scenes, and are something else.
  QString whyNoScenes() const {
    const auto name = std::find_if_not(m_Line.scenes.begin(), m_Line.scenes.end(), looksLikeScene);
    if (name == m_Line.scenes.end()) return QString();
    QStringList known = optionWords();
    for (const auto& [command, parameters] : *m_Commands) known << command;
    // What is followed by parameters was meant to be a command.
    const bool isFollowed = m_Line.command.isEmpty() && !m_Rest.isEmpty() && *name == m_Line.scenes.last();
    return *name + (isFollowed ? ": unknown command" : ": neither a command nor a file") + suggestion(*name, known);
  }

  QStringList m_Rest;
  const Commands* m_Commands;
  CommandLine& m_Line;
  bool m_OptionsEnded = false;
};

/// Options that are right by themselves, but not together.
QString whyInconsistent(const CommandLine& line) {
  if (line.json && !line.info) return QStringLiteral("--json: --info FILE is missing, which it is for");
  if (line.info && line.scenes.isEmpty()) return QStringLiteral("--info: a model file is missing");
  if (line.info && !line.command.isEmpty())
    return QStringLiteral("--info and the command %1 exclude each other").arg(line.command);
  if (line.turntable && !line.trajectory.isEmpty())
    return QStringLiteral("--turntable and --trajectory exclude each other");
  if (!line.animation.isEmpty() && (line.turntable || !line.trajectory.isEmpty()))
    return QStringLiteral("--animation and %1 exclude each other")
        .arg(line.turntable ? QStringLiteral("--turntable") : QStringLiteral("--trajectory"));
  if (!line.element.isEmpty() && line.trajectory.isEmpty())
    return QStringLiteral("--element: --trajectory FILE is missing, with the points to move it along");
  if (line.eye && !line.view.isEmpty()) return QStringLiteral("--camera and --view exclude each other");
  const auto isPerspective = [](const Argument& option) {
    return option.name == QLatin1String("projection") && option.value == QLatin1String("perspective");
  };
  if (line.scale && std::any_of(line.options.begin(), line.options.end(), isPerspective))
    return QStringLiteral("--scale and --projection perspective exclude each other");
  for (const auto& [name, isGiven] :
       {std::pair("zoom", line.zoom.has_value()), {"camera-path", !line.cameraPath.isEmpty()}})
    if (isGiven && line.scale) return QStringLiteral("--scale and --%1 exclude each other").arg(name);
  const std::pair<const char*, bool> otherMoves[] = {{"turntable", line.turntable.has_value()},
                                                     {"trajectory", !line.trajectory.isEmpty()},
                                                     {"camera", line.eye.has_value()},
                                                     {"target", line.target.has_value()},
                                                     {"view", !line.view.isEmpty()}};
  for (const auto& [name, isGiven] : otherMoves)
    if (isGiven && !line.cameraPath.isEmpty())
      return QStringLiteral("--camera-path and --%1 exclude each other").arg(name);
  if (line.asks() || !line.command.isEmpty()) return QString();
  const std::pair<const char*, bool> forRuns[] = {{"dry-run", line.dryRun},
                                                  {"no-overwrite", line.noOverwrite},
                                                  {"report", !line.reportFile.isEmpty()},
                                                  {"camera", line.eye.has_value()},
                                                  {"target", line.target.has_value()},
                                                  {"up", line.up.has_value()},
                                                  {"roll", line.roll.has_value()},
                                                  {"zoom", line.zoom.has_value()},
                                                  {"margin", line.margin.has_value()},
                                                  {"view all", line.view == AllViews},
                                                  {"scale", line.scale.has_value()}};
  if (line.scenes.contains(StandardInput)) return QStringLiteral("-: a window reads no model from standard input");
  for (const auto& [name, isGiven] : forRuns)
    if (isGiven) return QStringLiteral("--%1 is for the run of a command, and none is given").arg(name);
  return QString();
}

}  // namespace

CommandLine parseCommandLine(const QStringList& words) {
  CommandLine line;
  Reader(words, nullptr, line).read();
  return line;
}

CommandLine parseCommandLine(const QStringList& words, const Commands& commands) {
  CommandLine line;
  Reader(words, &commands, line).read();
  if (line.error.isEmpty()) line.error = whyInconsistent(line);
  return line;
}

QString whyFilesMissing(const CommandLine& line) {
  QStringList files = line.scenes;
  files.removeAll(BuiltinScene);
  files.removeAll(StandardInput);
  for (const QString& file : {line.trajectory, line.cameraPath, line.environment})
    if (!file.isEmpty()) files << file;
  for (const QString& file : files) {
    const QFileInfo info(file);
    if (!info.exists()) return QStringLiteral("cannot read '%1': there is no such file").arg(file);
    if (info.isDir()) return QStringLiteral("cannot read '%1': it is a directory").arg(file);
  }
  return QString();
}

}  // namespace nubo::app
