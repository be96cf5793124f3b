// What a scene's name on the command line, or in the window, stands for.
#pragma once

#include "module_scene/io/importer.h"

namespace nubo::app {

struct CommandLine;

/// Reads a model file or, under its name, the built-in scene with its animation; fails as importFile does. Any thread.
[[nodiscard]] io::ImportResult readScene(const QString& name, io::ImportControl& control);
/// How files are to be read, as a line says.
[[nodiscard]] io::ImportSettings readingSettings(const CommandLine& line);
/// The empty text, or one line that says that a scene has no materials of that name.
QString whyNoVariant(const QString& name, const QStringList& variants);

}  // namespace nubo::app
