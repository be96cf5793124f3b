// The options of nubo-join, and what is made of their table.
#pragma once

#include <QCommandLineParser>

namespace nubo::farm {

/// Gives the parser the options and arguments, and the help their description.
void describe(QCommandLineParser& parser);

/// The manual page.
QString manualText();

/// How the last of the words may go on: lines for the shells' functions, each a candidate, a tab and what it means, or
/// ":files" with the suffixes that files may have.
QStringList completionsOf(const QStringList& words);

}  // namespace nubo::farm
