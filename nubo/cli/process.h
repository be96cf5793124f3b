// The process around the program: streams, memory, the encoding of texts.
#pragma once

#include <QStringList>

namespace nubo::app {

/// Makes the process one that the program can rely on. First of all.
void prepareProcess();

/// The words after the program's name. Sets `error` where one is no text: as a file's name it would become another's.
QStringList wordsOf(int argc, char** argv, QString& error);

}  // namespace nubo::app
