#include "nubo/cli/commandline.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "nubo/cli/terminalprogress.h"

using namespace nubo::app;
using testing::HasSubstr;

namespace {

QStringList words(const char* line) { return QString(line).split(' ', Qt::SkipEmptyParts); }

CommandLine settled(const char* line) {
  CommandLine result = parseCommandLine(words(line));
  const auto parameters = [](const QString& command) {
    return command == "render" ? QStringList{"filename", "size", "quiet"} : QStringList{"filename", "width", "sync"};
  };
  if (result.error.isEmpty())
    settleCommand(result, {"grabimage", "grabvideo", "setvideosettings", "render"}, parameters);
  return result;
}

TEST(CommandLine, TellsScenesCommandAndArgumentsApart) {
  struct Row {
    const char *line, *scenes, *command, *call;
  };
  const Row rows[] = {
      {"model.glb grabimage --filename a.png --width 100", "model.glb", "grabimage",
       "grabimage --filename a.png --width 100"},
      {"grabimage --width=7", "", "grabimage", "grabimage --width 7"},
      {"--quiet setvideosettings --fps 30", "", "setvideosettings", "setvideosettings --fps 30"},
      {"./grabimage grabimage", "./grabimage", "grabimage", "grabimage"},
      {"builtin", "builtin", "", ""},
      {"some/model", "some/model", "", ""},
      {"a.stl builtin b.obj", "a.stl builtin b.obj", "", ""},
      {"--size 9x9 a.stl b.obj grabimage --width 3", "a.stl b.obj", "grabimage", "grabimage --width 3"},
      {"./grabimage", "./grabimage", "", ""},
      {"m.stl --size 9x9 --quiet n.stl --samples=2 render --size 3 --quiet", "m.stl n.stl", "render",
       "render --size 3 --quiet"},
      {"--size 10x20 m.stl grabvideo --sync --width -5", "m.stl", "grabvideo", "grabvideo --sync --width -5"},
      {"m.stl grabimage --filename=--odd.png --width 3", "m.stl", "grabimage",
       "grabimage --filename --odd.png --width 3"},
      {"", "", "", ""},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.line);
    const CommandLine line = settled(row.line);
    EXPECT_EQ(line.error, "");
    EXPECT_EQ(line.scenes.join(' '), row.scenes);
    EXPECT_EQ(line.command, row.command);
    EXPECT_EQ(callText(line.command, line.arguments), row.call);
    EXPECT_EQ(wantsWindow(parseCommandLine(words(row.line))), line.command.isEmpty());
  }
  for (const char* asks : {"grabimage --help", "grabimage -h", "m.stl grabimage --width 3 -h"})
    EXPECT_TRUE(settled(asks).commandHelp) << asks;
  EXPECT_TRUE(settled("-h").help);
  EXPECT_TRUE(settled("model.glb --help").help);
  for (const char* asks : {"--help", "m.stl --help", "m.stl --version", "m.stl n.stl --list-commands"})
    EXPECT_FALSE(wantsWindow(parseCommandLine(words(asks)))) << asks;
  EXPECT_TRUE(settled("grabimage --width=").arguments[0].value == "");
  EXPECT_FALSE(settled("grabimage --width=").arguments[0].value.isNull());
  EXPECT_TRUE(settled("grabimage --width").arguments[0].value.isNull());
}

TEST(CommandLine, ReadsItsOptions) {
  const QString options =
      "--size 800x450 --view -30,-20.5 --background #102030 --samples 0 --steps 0:99 --duration 1.5 --trajectory t.csv "
      "--element arm --verbose ";
  // Before the scene or after the command, or shared between both.
  for (const QString& text : {options + "m.obj grabvideo", "m.obj grabvideo " + options,
                              "--size 1x1 --element leg m.obj grabvideo --sync " + options}) {
    const CommandLine line = settled(qPrintable(text));
    ASSERT_EQ(line.error, "");
    EXPECT_EQ(line.size, QSize(800, 450));
    EXPECT_EQ(line.view, "-30,-20.5");
    EXPECT_EQ(line.background, QColor(0x10, 0x20, 0x30));
    EXPECT_EQ(line.samples, 0);
    EXPECT_EQ(line.steps, std::make_pair(0, 99));
    EXPECT_EQ(line.duration, 1.5);
    EXPECT_EQ(line.trajectory, "t.csv");
    EXPECT_EQ(line.element, "arm");
    EXPECT_EQ(line.verbosity, Verbosity::Verbose);
    EXPECT_EQ(line.arguments.size(), text.contains("--sync") ? 1 : 0);
  }
  EXPECT_EQ(settled("--turntable 250 --settings s.ini").turntable, 250);
  EXPECT_EQ(settled("--settings s.ini").settingsFile, "s.ini");
  EXPECT_EQ(settled("m.obj --size 7x8").size, QSize(7, 8));

  const CommandLine owner = settled("render --size large --quiet --samples 2");
  EXPECT_EQ(owner.error, "") << "a command's own parameters come first";
  EXPECT_EQ(callText(owner.command, owner.arguments), "render --size large --quiet");
  EXPECT_EQ(owner.size, QSize(1280, 720));
  EXPECT_EQ(owner.verbosity, Verbosity::Normal);
  EXPECT_EQ(owner.samples, 2);
}

TEST(CommandLine, RefusesWithAReason) {
  struct Row {
    const char *line, *reason;
  };
  const Row rows[] = {
      {"--sise 10x10 m.stl grabimage", "--sise: unknown option; did you mean \"--size\"?"},
      {"--size 10 m.stl grabimage", "--size 10: expected WIDTHxHEIGHT"},
      {"--size 0x10 m.stl grabimage", "--size 0x10: expected"},
      {"--size 10x99999999999 m.stl grabimage", "expected"},
      {"--size", "--size"},
      {"m.stl grabimage --size", "--size"},
      {"m.stl grabimage --size 0x10", "--size 0x10: expected"},
      {"m.stl grabimage --quiet now", "now: expected --PARAMETER VALUE after grabimage"},
      {"m.stl grabimage --settings s.ini", "--settings stands before the scene"},
      {"--view fron m.stl grabimage", "did you mean \"front\"?"},
      {"--view 1,x m.stl grabimage", "--view 1,x: expected"},
      {"--background blu m.stl grabimage", "did you mean"},
      {"--samples -1 m.stl grabimage", "--samples -1: expected a whole number from 0 to 64"},
      {"--samples many m.stl grabimage", "expected a whole number"},
      {"--turntable 0 m.stl grabvideo", "--turntable 0: expected"},
      {"--turntable 9 m.stl grabvideo --trajectory t.csv", "exclude each other"},
      {"--element arm m.stl grabvideo", "--element: --trajectory FILE is missing"},
      {"--steps 5:4 m.stl grabvideo", "--steps 5:4: expected"},
      {"--steps 5 m.stl grabvideo", "--steps 5: expected"},
      {"--duration nan m.stl grabvideo", "--duration nan: expected"},
      {"--duration 0 m.stl grabvideo", "--duration 0: expected"},
      {"--element= m.stl grabvideo --trajectory t.csv", "--element \"\": expected an element's name"},
      {"--trajectory= m.stl grabvideo", "--trajectory \"\": expected a file name"},
      {"--settings= m.stl grabimage", "--settings \"\": expected a file name"},
      {"--settings / m.stl grabimage", "--settings /: expected an ordinary file"},
      {"--settings /dev/null m.stl grabimage", "--settings /dev/null: expected an ordinary file"},
      {"grabimge --width 3", "grabimge: unknown command; did you mean \"grabimage\"?"},
      {"m.stl grab --width 3", "did you mean \"grabimage\" or \"grabvideo\"?"},
      {"xyzzy", "xyzzy: neither a command nor a file"},
      {"help", "did you mean \"--help\"?"},
      {"m.stl grabimage a.png", "a.png: expected --PARAMETER VALUE after grabimage"},
      {"grabvideo m.stl --filename a.mp4", "m.stl: expected --PARAMETER VALUE after grabvideo"},
      {"grabimage grabvideo --filename a.mp4", "grabvideo: expected --PARAMETER VALUE after grabimage"},
      {"mstl grabimage --filename a.png", "mstl: neither a command nor a file"},
      {"m.stl --width 3x3", "--width: no command stands before it"},
      {"grabimage --width 3 4", "4: expected --PARAMETER VALUE"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.line);
    const CommandLine line = settled(row.line);
    EXPECT_THAT(line.error.toStdString(), HasSubstr(row.reason));
    EXPECT_FALSE(line.error.contains('\n'));
  }
  EXPECT_FALSE(settled("xyzzy").error.contains("mean")) << "nothing is close";
}

TEST(ProgressLine, FitsTheTerminal) {
  const QString full = progressLine("Building tiles", 50, 67, 80);
  EXPECT_EQ(full, "Building tiles [###############               ]  50 % 1:07 left");
  EXPECT_EQ(progressLine("Saving", -1, -1, 80), "Saving");
  for (int columns : {0, 5, 40, 60})
    EXPECT_LE(progressLine("Building tiles of a picture", 99, 100000, columns).size(), columns);
  EXPECT_TRUE(progressLine("Text", 100, -1, 80).contains(QString(30, '#')));
}

}  // namespace
