#include "nubo/cli/scenefile.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <cmath>
#include <cstdio>

#include "module_scene/builtin/builtinanimation.h"
#include "module_scene/builtin/builtinscene.h"
#include "nubo/cli/commandline.h"
#include "nubo/cli/suggestion.h"

namespace nubo::app {

io::ImportSettings readingSettings(const CommandLine& line) {
  io::ImportSettings settings;
  if (line.readTimeout) settings.patience = std::chrono::milliseconds(std::llround(*line.readTimeout * 1000));
  if (line.fineness) settings.options["fineness"] = QByteArray::number(*line.fineness).toStdString();
  settings.variant = line.variant;
  return settings;
}

namespace {

/// Readers want files. This one lies where nothing else does, since a reader sees the folder above, too.
io::ImportResult readStandardInput(io::ImportControl& control) {
  io::ImportResult result;
  const QTemporaryDir folder;
  const QString inner = folder.filePath(QStringLiteral("in")), name = inner + QStringLiteral("/standard input");
  QFile input, file(name);
  const bool isOpen = input.open(stdin, QIODevice::ReadOnly);
  bool isCopied = isOpen && QDir().mkdir(inner) && file.open(QIODevice::WriteOnly);
  constexpr qint64 Piece = 1 << 20;
  for (QByteArray piece; isCopied && !(piece = input.read(Piece)).isEmpty();)
    isCopied = file.write(piece) == piece.size();
  file.close();
  if (isCopied && input.error() == QFileDevice::NoError && file.error() == QFileDevice::NoError)
    result = io::importFile(name, control);
  else
    result.error = QStringLiteral("cannot read '%1': %2")
                       .arg(name, isOpen && !isCopied ? file.errorString() : input.errorString());
  result.error.replace(name, QStringLiteral("standard input"));
  return result;
}

}  // namespace

io::ImportResult readScene(const QString& name, io::ImportControl& control) {
  if (name == StandardInput) return readStandardInput(control);
  if (name != BuiltinScene) return io::importFile(name, control);
  io::ImportResult result;
  result.format = result.reader = BuiltinScene;
  result.root = scene::createBuiltinScene();
  result.animations = {scene::createBuiltinAnimation(*result.root)};
  return result;
}

QString whyNoVariant(const QString& name, const QStringList& variants) {
  if (name.isEmpty() || variants.contains(name)) return QString();
  return QStringLiteral("--variant %1: the scene has no such variant").arg(name) + choiceOf(name, variants);
}

}  // namespace nubo::app
