// A command's parameters as options of the command line.
#pragma once

#include <QStringList>
#include <QVector>

namespace nubo::main {
class AbstractParameter;
class Command;
class ParameterSet;
}  // namespace nubo::main

namespace nubo::app {

struct Argument {
  QString name;   ///< without the leading dashes
  QString value;  ///< null: the option stood alone
};
using Arguments = QVector<Argument>;

/// Lower case, every run of characters that are neither letters nor digits a hyphen:
/// "max. tempfile-size (MB)" becomes "max-tempfile-size-mb".
QString optionName(const QString& parameterName);

/// The options of all of the command's parameters.
QStringList optionNames(main::Command& command);

/// What a parameter gets when its option is not given; null: nothing. Application thread.
QString defaultText(const main::AbstractParameter& parameter);

/// Whether the value is a file's name, chosen in a dialog of the command's.
bool namesFile(const main::AbstractParameter& parameter);
/// The formats that its dialog offers, such as "PNG-File (*.png)", and their suffixes in lower case.
QStringList formatsOf(const main::AbstractParameter& parameter);
QStringList suffixesOf(const main::AbstractParameter& parameter);
/// Whether the description of a yes or no says that 0 means yes. User interfaces then have to say what holds.
bool describesNumbersReversed(const main::AbstractParameter& parameter);

/// Fills the command's inputs from the arguments and defaults and makes them current. Files that it will write
/// are tried first. Returns the empty text, or one line that says what was wrong; then the command must not run.
/// `alsoKnown` are parameters that could have been meant, but are not this command's.
[[nodiscard]] QString bindArguments(main::Command& command, const Arguments& arguments,
                                    const QStringList& alsoKnown = {});

/// Why the command would fail at its bound values, as far as is known before it runs: "" if nothing speaks against
/// them. Application thread.
[[nodiscard]] QString whyValuesRefused(main::Command& command, const Arguments& arguments);

/// One line on what a run with the bound values will make, which it tells itself; else the values.
[[nodiscard]] QString summaryOf(main::Command& command, const Arguments& arguments);

/// The current inputs by their options' names; without those that have no value.
Arguments boundArguments(main::Command& command);

/// Of a settings command that has stored its current inputs, a line for each that it has bounded: "NAME: --OPTION
/// STORED HAPPENED in place of GIVEN".
QStringList otherValues(main::Command& command, const QString& happened);

/// What stands for the name of a view in a file's name: "{view}".
extern const QString ViewPlace;
/// What stands in the names of files for each of the views: without what no file's name may hold, and numbered where it
/// would be the same for another view.
QStringList partsOfFileNames(const QStringList& views);
/// The name of that view's file: "part-{view}.png" becomes "part-front.png".
QString withView(const QString& fileName, const QString& part);
/// Whether one of the files that are given has a place for a view's name.
bool namesView(main::Command& command, const Arguments& arguments);
/// The arguments, with that part for the view in those of files.
Arguments forView(main::Command& command, const Arguments& arguments, const QString& part);

/// The files that the command's current inputs name for it to write.
QStringList targetFiles(main::Command& command);

/// Command and arguments as they were given, for messages.
QString callText(const QString& command, const Arguments& arguments);

}  // namespace nubo::app
