#include "nubo/cli/standardoutput.h"

#include <unistd.h>

#include <QFile>
#include <cstdio>

#include "kernel/main/command.h"

namespace nubo::app {

namespace {

bool isFileOption(main::Command& command, const QString& option) {
  for (const main::ParameterSet& set : command.getParameterSets())
    for (const main::AbstractParameter* parameter : set.parameters())
      if (optionName(parameter->getName()) == option && namesFile(*parameter)) return true;
  return false;
}

}  // namespace

QString StandardOutput::redirect(main::Command& command, Arguments& arguments) {
  for (Argument& argument : arguments) {
    if (!argument.value.startsWith("-.") || !isFileOption(command, argument.name)) continue;
    const auto refuse = [&](const QString& reason) { return QStringLiteral("--%1: %2").arg(argument.name, reason); };
    if (isUsed()) return refuse("there is one standard output only");
    if (isatty(STDOUT_FILENO)) return refuse("standard output is a terminal; send it to a file or a program");
    mp_Folder = std::make_unique<QTemporaryDir>();
    if (!mp_Folder->isValid()) return refuse(mp_Folder->errorString());
    m_FileName = mp_Folder->filePath("output" + argument.value.mid(1));
    argument.value = m_FileName;
  }
  return QString();
}

QString StandardOutput::send() const {
  QFile file(m_FileName);
  QFile output;
  if (!file.open(QIODevice::ReadOnly)) return file.errorString();
  if (!output.open(stdout, QIODevice::WriteOnly)) return output.errorString();
  constexpr qint64 Piece = 1 << 20;
  while (!file.atEnd()) {
    const QByteArray piece = file.read(Piece);
    if (piece.isEmpty()) return file.errorString();
    if (output.write(piece) != piece.size()) return output.errorString();
  }
  return output.flush() ? QString() : output.errorString();
}

}  // namespace nubo::app
