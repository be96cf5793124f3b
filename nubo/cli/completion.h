// How the words of a call may go on, for shells.
#pragma once

#include <QStringList>

namespace nubo::app {

/// What may stand in place of the last of the words after the program's name, a line each: the word, a tab, and what it
/// means. A line that begins with ":files" asks for the names of files, of the suffixes that follow if any do. Modules
/// are loaded. Application thread.
QStringList completionsOf(const QStringList& words);

}  // namespace nubo::app
