#include "nubo/cli/help.h"

#include <algorithm>

#include "kernel/main/command.h"
#include "nubo/cli/commandarguments.h"
#include "nubo/cli/commandline.h"
#include "nubo/cli/option.h"
#include "nubo/cli/runsettings.h"

namespace nubo::app {

namespace {

using main::AbstractParameter;

/// Words in lines that begin at the column `indent`, the first of which is begun already.
QString wrapped(const QString& text, int indent) {
  constexpr int Columns = 79;
  QString lines;
  int column = indent;
  for (const QString& word : text.split(' ')) {
    if (column > indent && column + 1 + word.size() > Columns) {
      lines += '\n' + QString(indent, ' ');
      column = indent;
    }
    if (column > indent) lines += ' ';
    column += (column > indent ? 1 : 0) + word.size();
    lines += word;
  }
  return lines;
}

/// In two columns.
QString layOut(const std::vector<HelpEntry>& entries) {
  int width = 0;
  for (const HelpEntry& entry : entries) width = std::max(width, int(entry.written.size()));
  QString text;
  for (const HelpEntry& entry : entries) {
    text += QStringLiteral("  %1  %2\n").arg(entry.written, -width).arg(wrapped(entry.meaning, width + 4));
    for (const QString& line : entry.below) text += QString(6, ' ') + line + '\n';
  }
  return text;
}

HelpEntry entryOf(const Option& option) {
  QString written = option.written();
  if (!option.letter.isEmpty()) written += ", -" + option.letter;
  if (!option.value.isEmpty()) written += ' ' + option.value;
  return {written, option.help};
}

QString valueName(const AbstractParameter& parameter) {
  if (namesFile(parameter)) return QStringLiteral("FILE");
  if (parameter.countsPixels()) return QStringLiteral("PIXELS");
  if (parameter.getType() == typeid(int) || parameter.getType() == typeid(double)) return QStringLiteral("NUMBER");
  return parameter.getType() == typeid(bool) ? QStringLiteral("YES|NO") : QStringLiteral("TEXT");
}

QString meaningOf(const AbstractParameter& parameter) {
  QString meaning = parameter.getDescription();
  const QString start = defaultText(parameter);
  if (!start.isNull())
    meaning += QStringLiteral(" (default: %1)").arg(start);
  else if (parameter.isRequired())
    meaning += QStringLiteral(" (required)");
  if (parameter.countsPixels()) meaning += QStringLiteral("; also on paper, as in 180mm@300dpi");
  if (parameter.getType() == typeid(bool)) meaning += QStringLiteral("; 1 or yes turns it on, 0 or no off");
  if (describesNumbersReversed(parameter))
    meaning += QStringLiteral(": the numbers in the description are the wrong way round");
  return meaning;
}

HelpEntry entryOf(const AbstractParameter& parameter) {
  HelpEntry entry{QStringLiteral("--%1 %2").arg(optionName(parameter.getName()), valueName(parameter)),
                  meaningOf(parameter)};
  const QStringList formats = formatsOf(parameter);
  if (!formats.isEmpty()) entry.below << "one of:";
  for (const QString& format : formats) entry.below << "  " + format;
  return entry;
}

QString parametersText(main::Command& command, const QString& title) {
  QString text;
  for (const main::ParameterSet& set : command.getParameterSets()) {
    text += '\n' + title + ":\n" + layOut(parameterEntries(set));
  }
  return text;
}

}  // namespace

std::vector<HelpEntry> optionEntries() {
  std::vector<HelpEntry> entries;
  for (const Option& option : options()) entries.push_back(entryOf(option));
  return entries;
}

std::vector<HelpEntry> parameterEntries(const main::ParameterSet& set) {
  std::vector<HelpEntry> entries;
  for (const AbstractParameter* parameter : set.parameters()) entries.push_back(entryOf(*parameter));
  return entries;
}

QString helpText() {
  const QString introduction = QStringLiteral(
      "Usage: nubo [options] [SCENE ...] [COMMAND [--PARAMETER VALUE ...]]\n\n"
      "Shows a scene in a window or, with a COMMAND, runs that on the scene without a window.\n"
      "SCENE is a model file (glTF, OBJ, STL, PLY, 3DS, COLLADA, FBX, ...) or \"%1\",\n"
      "the built-in scene, which is also what commands get without a SCENE. Several make up one scene.\n"
      "A file that is named like a command is written ./NAME; after --, names may begin with dashes.\n"
      "Options may also follow the command.\n"
      "\"nubo --list-commands\" lists the commands, \"nubo COMMAND --help\" their parameters and file formats.\n"
      "Exit status: 0 done, 1 the command failed, 2 the call was wrong, 128 + N ended early by signal N\n"
      "(130 by Ctrl-C).\n\n"
      "Options:\n");
  return introduction.arg(BuiltinScene) + layOut(optionEntries());
}

QString commandHelpText(main::Command& command) {
  QString text = QStringLiteral("Usage: nubo [options] [SCENE ...] %1 [--PARAMETER VALUE ...]\n\n%2\n")
                     .arg(command.getName(), command.getDescriptor()->getDescription());
  text += parametersText(command, QStringLiteral("Parameters"));
  for (main::Command* settings : settingsCommandsOf(command))
    text +=
        parametersText(*settings, QStringLiteral("Settings for this run (%1 stores them)").arg(settings->getName()));
  return text;
}

}  // namespace nubo::app
