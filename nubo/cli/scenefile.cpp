#include "nubo/cli/scenefile.h"

#include <cmath>

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

io::ImportResult readScene(const QString& name, io::ImportControl& control) {
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
