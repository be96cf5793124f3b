#include "nubo/cli/commandarguments.h"

#include <QFileDialog>
#include <QRegularExpression>
#include <QSlider>
#include <algorithm>
#include <memory>

#include "kernel/main/command.h"
#include "kernel/main/parameter.h"
#include "kernel/main/parameterpanelfactory.h"
#include "nubo/cli/filecheck.h"
#include "nubo/cli/namedcamera.h"
#include "nubo/cli/option.h"
#include "nubo/cli/pixellength.h"
#include "nubo/cli/suggestion.h"

namespace nubo::app {

namespace {

using main::AbstractParameter;
using main::ParameterSet;
using TextParameter = main::Parameter<QString>;

const Argument* findArgument(const Arguments& arguments, const QString& name) {
  for (const Argument& argument : arguments)
    if (argument.name == name) return &argument;
  return nullptr;
}

QStringList optionNames(const ParameterSet& set) {
  QStringList names;
  for (const AbstractParameter* parameter : set.parameters()) names << optionName(parameter->getName());
  return names;
}

/// The first set that has all that was given; the first of all where none has.
ParameterSet* chooseSet(main::Command& command, const Arguments& arguments) {
  auto& sets = command.getParameterSets();
  for (ParameterSet& set : sets) {
    const QStringList names = optionNames(set);
    const auto known = [&](const Argument& argument) { return names.contains(argument.name); };
    if (std::all_of(arguments.begin(), arguments.end(), known)) return &set;
  }
  return sets.empty() ? nullptr : &sets.front();
}

QString whyArgumentsWrong(const ParameterSet& set, const Arguments& arguments, const QStringList& alsoKnown) {
  const QStringList names = optionNames(set);
  QStringList seen;
  for (const Argument& argument : arguments) {
    if (!names.contains(argument.name)) {
      QStringList known = optionWords();
      for (const QString& name : names + alsoKnown) known << "--" + name;
      return QStringLiteral("--%1: unknown parameter").arg(argument.name) + suggestion("--" + argument.name, known);
    }
    if (seen.contains(argument.name)) return QStringLiteral("--%1 is given twice").arg(argument.name);
    seen << argument.name;
  }
  return QString();
}

/// A number of pixels in place of a length on paper, whose resolution goes to `value`.
QString inPixels(const AbstractParameter& parameter, const QString& text, AbstractParameter& value, QString& error) {
  if (!parameter.countsPixels() || !isPixelLength(text)) return text;
  const std::optional<PixelLength> length = readPixelLength(text, error);
  if (!length) return text;
  value.setDotsPerInch(length->dotsPerInch);
  return QString::number(length->pixels);
}

/// The text for a parameter from the arguments or its default; sets `error` where that will not do. What goes with the
/// text is set in `value`, which is to hold it.
QString textFor(const AbstractParameter& parameter, const Arguments& arguments, AbstractParameter& value,
                QString& error) {
  const QString name = optionName(parameter.getName());
  const Argument* given = findArgument(arguments, name);
  value.setChosen(given != nullptr);
  QString text = given ? given->value : defaultText(parameter);
  if (given && text.isNull()) {
    if (parameter.getType() != typeid(bool)) {
      error = QStringLiteral("--%1 needs a value").arg(name);
      return QString();
    }
    text = "1";
  }
  if (text.isNull()) {
    if (parameter.isRequired()) error = QStringLiteral("--%1 is missing (%2)").arg(name, parameter.getDescription());
    return QString();
  }
  QString refusal;
  text = inPixels(parameter, text, value, refusal);
  if (refusal.isEmpty()) refusal = parameter.explainRefusal(text);
  if (!refusal.isEmpty()) error = QStringLiteral("--%1: %2").arg(name, refusal);
  return text;
}

}  // namespace

QString optionName(const QString& parameterName) {
  QString name;
  for (const QChar letter : parameterName) {
    if (letter.isLetterOrNumber())
      name += letter.toLower();
    else if (!name.isEmpty() && !name.endsWith('-'))
      name += '-';
  }
  if (name.endsWith('-')) name.chop(1);
  return name;
}

QStringList optionNames(main::Command& command) {
  QStringList names;
  for (const ParameterSet& set : command.getParameterSets()) names << optionNames(set);
  return names;
}

QString defaultText(const AbstractParameter& parameter) {
  const QString& text = parameter.getDefaultParameterForDefaultGUI();
  if (!text.isEmpty()) return text;
  if (const auto* factory = dynamic_cast<main::SliderParameterPanelFactory*>(parameter.getParameterPanelFactory()))
    return QString::number(std::unique_ptr<QSlider>(factory->createSlider())->value());
  return QString();
}

bool namesFile(const AbstractParameter& parameter) {
  return dynamic_cast<main::FileParameterPanelFactory*>(parameter.getParameterPanelFactory());
}

QStringList formatsOf(const AbstractParameter& parameter) {
  const auto* factory = dynamic_cast<main::FileParameterPanelFactory*>(parameter.getParameterPanelFactory());
  const std::unique_ptr<QFileDialog> dialog(factory ? factory->createDialog() : nullptr);
  return dialog ? dialog->nameFilters() : QStringList();
}

QStringList suffixesOf(const AbstractParameter& parameter) {
  static const QRegularExpression pattern(QStringLiteral("\\*\\.([\\w.+-]+)"));
  QStringList suffixes;
  for (const QString& format : formatsOf(parameter))
    for (auto matches = pattern.globalMatch(format); matches.hasNext();)
      suffixes << matches.next().captured(1).toLower();
  return suffixes;
}

bool describesNumbersReversed(const AbstractParameter& parameter) {
  static const QRegularExpression reversed(QStringLiteral("\\b0\\s*=\\s*(true|yes|on|ja|wahr)\\b"),
                                           QRegularExpression::CaseInsensitiveOption);
  return parameter.getType() == typeid(bool) && parameter.getDescription().contains(reversed);
}

QString bindArguments(main::Command& command, const Arguments& arguments, const QStringList& alsoKnown) {
  ParameterSet* own = chooseSet(command, arguments);
  if (!own) return arguments.isEmpty() ? QString() : QStringLiteral("the command has no parameters");
  QString error = whyArgumentsWrong(*own, arguments, alsoKnown);
  ParameterSet values(own->getID(), own->getName());
  for (const AbstractParameter* parameter : own->parameters()) {
    if (!error.isEmpty()) return error;
    auto* value = new TextParameter(parameter->getName(), parameter->getDescription(), QString(), false, nullptr);
    values.addParameter(value);
    const QString text = textFor(*parameter, arguments, *value, error);
    if (text.isNull()) continue;
    value->castString(text);
    if (!error.isEmpty() || !namesFile(*parameter)) continue;
    const QString cause = whyNotWritable(text);
    if (!cause.isEmpty()) error = QStringLiteral("--%1: %2").arg(optionName(parameter->getName()), cause);
  }
  if (error.isEmpty() && !command.setParameters(values)) error = QStringLiteral("the command refuses these values");
  return error.isEmpty() ? whyValuesRefused(command, arguments) : error;
}

QString whyValuesRefused(main::Command& command, const Arguments& arguments) {
  const ParameterSet* own = chooseSet(command, arguments);
  if (!own) return QString();
  const ParameterSet::Refusal refusal = own->check(*own);
  if (refusal.text.isEmpty()) return QString();
  return QStringLiteral("--%1: %2").arg(optionName(own->parameters()[refusal.parameter]->getName()), refusal.text);
}

QString summaryOf(main::Command& command, const Arguments& arguments) {
  const ParameterSet* own = chooseSet(command, arguments);
  const QString summary = own ? own->summarize(*own) : QString();
  return summary.isEmpty() ? callText(command.getName(), boundArguments(command)) : summary;
}

Arguments boundArguments(main::Command& command) {
  Arguments arguments;
  for (const ParameterSet& set : command.getParameterSets())
    for (const AbstractParameter* parameter : set.parameters())
      if (parameter->hasValue()) arguments << Argument{optionName(parameter->getName()), parameter->toString()};
  return arguments;
}

QStringList otherValues(main::Command& command, const QString& happened) {
  QStringList others;
  for (const ParameterSet& set : command.getParameterSets())
    for (const AbstractParameter* parameter : set.parameters())
      // What was stored is what parameters start from afterwards.
      if (const QString stored = defaultText(*parameter); parameter->hasValue() && parameter->toString() != stored)
        others << QStringLiteral("%1: --%2 %3 %4 in place of %5")
                      .arg(command.getName(), optionName(parameter->getName()), stored, happened,
                           parameter->toString());
  return others;
}

const QString ViewPlace = QStringLiteral("{view}");

QStringList partsOfFileNames(const QStringList& views) {
  static const QRegularExpression unfit(QStringLiteral("[^\\w+=@-]+"), QRegularExpression::UseUnicodePropertiesOption);
  QStringList parts;
  for (const QString& view : views) {
    // A name of a file has one dot, and none of what divides folders.
    const QString name = cameraName(view).value_or(view).replace(unfit, QStringLiteral("-"));
    QString part = name;
    for (int number = 2; parts.contains(part); ++number) part = QStringLiteral("%1-%2").arg(name).arg(number);
    parts << part;
  }
  return parts;
}

QString withView(const QString& fileName, const QString& part) { return QString(fileName).replace(ViewPlace, part); }

Arguments forView(main::Command& command, const Arguments& arguments, const QString& part) {
  QStringList files;
  for (const ParameterSet& set : command.getParameterSets())
    for (const AbstractParameter* parameter : set.parameters())
      if (namesFile(*parameter)) files << optionName(parameter->getName());
  Arguments result = arguments;
  for (Argument& argument : result)
    if (files.contains(argument.name)) argument.value = withView(argument.value, part);
  return result;
}

bool namesView(main::Command& command, const Arguments& arguments) {
  const Arguments replaced = forView(command, arguments, QString());
  return !std::equal(arguments.begin(), arguments.end(), replaced.begin(),
                     [](const Argument& a, const Argument& b) { return a.value == b.value; });
}

QStringList targetFiles(main::Command& command) {
  QStringList files;
  for (ParameterSet& set : command.getParameterSets())
    for (const AbstractParameter* parameter : set.parameters())
      if (namesFile(*parameter) && parameter->hasValue()) files << parameter->toString();
  return files;
}

QString callText(const QString& command, const Arguments& arguments) {
  QString text = command;
  for (const Argument& argument : arguments) {
    text += " --" + argument.name;
    if (!argument.value.isNull()) text += ' ' + (argument.value.isEmpty() ? "\"\"" : argument.value);
  }
  return text;
}

}  // namespace nubo::app
