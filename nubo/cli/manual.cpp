#include "nubo/cli/manual.h"

#include <QCoreApplication>
#include <QStringList>

#include "kernel/main/commandmanager.h"
#include "nubo/cli/help.h"
#include "nubo/cli/runsettings.h"
#include "nubo/cli/troff.h"

namespace nubo::app {

namespace {

using troff::item;
using troff::paragraph;
using troff::plain;
using troff::section;

QString items(const std::vector<HelpEntry>& entries) {
  QString text;
  for (const HelpEntry& entry : entries) {
    text += item(entry.written, entry.meaning);
    for (const QString& line : entry.below) text += QStringLiteral(".br\n%1\n").arg(plain(line.trimmed()));
  }
  return text;
}

QString commandText(main::Command& command) {
  QString text =
      QStringLiteral(".SS %1\n%2.\n").arg(plain(command.getName()), plain(command.getDescriptor()->getDescription()));
  for (const main::ParameterSet& set : command.getParameterSets()) text += items(parameterEntries(set));
  QStringList settings;
  for (const main::Command* other : settingsCommandsOf(command)) settings << other->getName();
  if (!settings.isEmpty())
    text += paragraph(
        QStringLiteral("The parameters of %1 can be given, too, and hold for this run.").arg(settings.join(", ")));
  return text;
}

const std::pair<const char*, const char*> Examples[] = {
    {"nubo model.glb", "shows a model in a window."},
    {"nubo --view oblique --size 640x400 model.glb grabimage --filename picture.png --width 180mm@300dpi",
     "takes a picture for print, 180 mm wide."},
    {"nubo --dry-run --turntable 250 part.stl grabvideo --filename part.mp4 --fps 30 --width 1280 --height 720",
     "tells what the recording of a turntable would be; without --dry-run it is made."},
    {"nubo --camera 4,-3,2 --target 0,0,1 model.glb grabimage --filename picture.tiff",
     "looks from one point at another."},
    {"cat model.glb | nubo - grabimage --filename -.png > picture.png", "works between pipes."},
};

const std::pair<const char*, const char*> Files[] = {
    {"~/.config/nubo/nubo.ini", "settings of yours, unless --settings names another file."},
    {"modules/, plugins/video/", "beside the program: modules with commands, and video encoders."},
};

const std::pair<const char*, const char*> Environment[] = {
    {"DISPLAY, WAYLAND_DISPLAY", "where windows are shown. Commands need neither."},
    {"QT_QPA_PLATFORM", "how commands reach OpenGL, in place of what is found to work."},
    {"NUBO_VIDEO_THREADS", "with how many threads videos are encoded."},
    {"NUBO_PLUGIN_PATH",
     "folders, with colons between them, below which more is found: modules, plugins/video and "
     "plugins/readers."},
    {"XDG_CONFIG_HOME", "where settings lie, in place of ~/.config."},
};

template <std::size_t N>
QString items(const std::pair<const char*, const char*> (&table)[N]) {
  QString text;
  for (const auto& [written, meaning] : table) text += item(written, meaning);
  return text;
}

}  // namespace

QString manualText() {
  QString text =
      QStringLiteral(".TH NUBO 1 \"\" \"nubo %1\" \"User Commands\"\n").arg(QCoreApplication::applicationVersion());
  text += section("NAME") + "nubo \\- shows 3\\-D models, and takes pictures and videos of them\n";
  text += section("SYNOPSIS") + ".B nubo\n[options] [SCENE ...] [COMMAND [\\-\\-PARAMETER VALUE ...]]\n";
  text += section("DESCRIPTION") +
          paragraph(
              "Shows a scene in a window or, with a COMMAND, runs that on the scene without a window. SCENE is a "
              "model file (glTF, OBJ, STL, PLY, 3DS, COLLADA, FBX, ...), \"builtin\", or \"-\" for a model from "
              "standard input; several make up one scene. Options may also follow the command.");
  text += section("OPTIONS") + items(optionEntries()) + section("COMMANDS");
  const main::CommandManager* commands = main::CommandManager::getInstance();
  for (const QString& name : commands->names()) text += commandText(*commands->find(name));
  text += section("EXAMPLES") + items(Examples) + section("EXIT STATUS");
  text +=
      paragraph("0 done, 1 the command failed, 2 the call was wrong, 128 + N ended early by signal N (130 by Ctrl-C).");
  return text + section("FILES") + items(Files) + section("ENVIRONMENT") + items(Environment);
}

}  // namespace nubo::app
