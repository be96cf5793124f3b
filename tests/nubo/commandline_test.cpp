// What the words of a call are taken for, and what its user sees besides.
#include "nubo/cli/commandline.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QThread>
#include <csignal>

#include "nubo/cli/help.h"
#include "nubo/cli/interrupt.h"
#include "nubo/cli/option.h"
#include "nubo/cli/terminalprogress.h"

using namespace nubo::app;
using testing::HasSubstr;

namespace {

const Commands Known = {{"grabimage", {"filename", "width"}},
                        {"grabvideo", {"filename", "width", "sync"}},
                        {"setvideosettings", {"fps"}},
                        {"render", {"filename", "size", "quiet"}}};

QStringList words(const char* line) { return QString(line).split(' ', Qt::SkipEmptyParts); }

CommandLine parsed(const char* line) {
  const CommandLine first = parseCommandLine(words(line));
  return first.error.isEmpty() ? parseCommandLine(words(line), Known) : first;
}

TEST(CommandLine, TellsScenesCommandAndArgumentsApart) {
  struct Row {
    const char *line, *scenes, *call;
  };
  const Row rows[] = {
      {"", "", ""},
      {"builtin", "builtin", ""},
      {"some/model", "some/model", ""},
      {"-- -dash.stl grabimage --width 3", "-dash.stl", "grabimage --width 3"},
      {"model.glb grabimage --filename a.png --width 100", "model.glb", "grabimage --filename a.png --width 100"},
      {"grabimage --width=7 --filename=", "", "grabimage --width 7 --filename \"\""},
      {"--quiet setvideosettings --fps 30", "", "setvideosettings --fps 30"},
      {"./grabimage grabimage", "./grabimage", "grabimage"},
      {"--size 9x9 a.stl b.obj grabimage --width 3", "a.stl b.obj", "grabimage --width 3"},
      {"m.stl --size 9x9 n.stl --samples=2 render --size 3 --quiet", "m.stl n.stl", "render --size 3 --quiet"},
      {"m.stl grabvideo --sync --width -5 --samples 2", "m.stl", "grabvideo --sync --width -5"},
      {"m.stl grabimage --filename=--odd.png --width 3", "m.stl", "grabimage --filename --odd.png --width 3"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.line);
    const CommandLine line = parsed(row.line);
    EXPECT_EQ(line.error, "");
    EXPECT_EQ(line.scenes.join(' '), row.scenes);
    EXPECT_EQ(callText(line.command, line.arguments), row.call);
    const CommandLine early = parseCommandLine(words(row.line));
    EXPECT_EQ(early.scenes, line.scenes) << "reading begins before the commands are known";
    EXPECT_EQ(early.wantsWindow(), line.command.isEmpty());
  }
  for (const char* asks : {"-h", "m.stl --help", "m.stl --version", "m.stl n.stl --list-commands", "grabimage -h",
                           "m.stl grabimage --width 3 --help", "grabimage --version"}) {
    EXPECT_TRUE(parsed(asks).asks()) << asks;
    EXPECT_FALSE(parseCommandLine(words(asks)).wantsWindow()) << asks;
  }
  for (const char* asks : {"grabimage --help", "--help grabimage"}) EXPECT_TRUE(parsed(asks).commandHelp) << asks;
  EXPECT_TRUE(parsed("grabimage --width").arguments[0].value.isNull());
}

TEST(CommandLine, ReadsItsOptions) {
  const QString options =
      "--size 800x450 --view -30,-20.5 --background white,#102030 --samples 0 --steps 0:99 --duration 1.5 --trajectory "
      "t.csv "
      "--element arm --verbose --read-timeout 2.5 --dry-run --no-overwrite --report r.json ";
  // Before the scene or after the command, or shared between both.
  for (const QString& text : {"--settings s.ini " + options + "m.obj grabvideo", "m.obj grabvideo " + options,
                              "--size 1x1 --element leg m.obj grabvideo --sync " + options}) {
    const CommandLine line = parsed(qPrintable(text));
    ASSERT_EQ(line.error, "");
    EXPECT_EQ(line.size, QSize(800, 450));
    EXPECT_EQ(line.view, "-30,-20.5");
    ASSERT_TRUE(line.background);
    EXPECT_EQ(line.background->color, QColor(0x10, 0x20, 0x30));
    EXPECT_EQ(line.background->top, QColor(Qt::white));
    EXPECT_EQ(line.samples, 0);
    EXPECT_EQ(line.steps, std::make_pair(0, 99));
    EXPECT_EQ(line.duration, 1.5);
    EXPECT_EQ(line.readTimeout, 2.5);
    EXPECT_EQ(line.trajectory, "t.csv");
    EXPECT_EQ(line.element, "arm");
    EXPECT_TRUE(line.dryRun && line.noOverwrite);
    EXPECT_EQ(line.reportFile, "r.json");
    EXPECT_EQ(line.options.last().value, "r.json");
    EXPECT_EQ(line.verbosity, Verbosity::Verbose);
    EXPECT_EQ(line.settingsFile, text.contains("s.ini") ? "s.ini" : "");
    EXPECT_EQ(line.arguments.size(), text.contains("--sync") ? 1 : 0);
  }
  EXPECT_EQ(parsed("--turntable 250").turntable, 250);
  const std::string help = helpText().toStdString();
  for (const QString& word : optionWords()) EXPECT_THAT(help, HasSubstr(word.toStdString()));
}

TEST(CommandLine, ReadsWhereASceneIsCut) {
  nubo::scene::BoundingBox box;
  for (const nubo::math::Vector3& corner : {nubo::math::Vector3{0, 0, 10}, {4, 8, 30}}) box.add(corner);
  struct Row {
    const char* text;
    nubo::math::Vector3 left, taken;  // points close to the plane
  };
  for (const Row& row : {Row{"x=0.3", {0.29, 5, 5}, {0.31, 5, 5}},
                         {"-x=-0.3", {-0.29, 5, 5}, {-0.31, 5, 5}},
                         {"y=25%", {0, 1.99, 0}, {0, 2.01, 0}},
                         {"-Z=75%", {0, 0, 25.01}, {0, 0, 24.99}},
                         {"1,0,0:0,1,0:0,0,1", {0.3, 0.3, 0.39}, {0.3, 0.3, 0.41}},
                         {"0,1,0:1,0,0:0,0,1", {0.3, 0.3, 0.41}, {0.3, 0.3, 0.39}}}) {
    SCOPED_TRACE(row.text);
    const CommandLine line = parsed(qPrintable(QStringLiteral("--section %1 m.stl grabimage").arg(row.text)));
    ASSERT_TRUE(line.section) << line.error.toStdString();
    const nubo::scene::Plane plane = planeOf(*line.section, box);
    EXPECT_LT(plane.beyond(row.left), 0);
    EXPECT_GT(plane.beyond(row.taken), 0);
  }
}

TEST(CommandLine, RefusesWithAReason) {
  struct Row {
    const char *line, *reason;
  };
  const Row rows[] = {
      {"--sise 10x10 m.stl grabimage", "--sise: unknown option; did you mean \"--size\"?"},
      {"--filename a.png grabimage", "--filename: unknown option; a command's parameters stand after its name"},
      {"-dash.stl", "-dash.stl: unknown option; if it is a file, write ./-dash.stl"},
      {"--size 10 m.stl grabimage", "--size 10: expected WIDTHxHEIGHT, each from 1 to 32768"},
      {"--size 10x32769", "--size 10x32769: expected"},
      {"--size", "--size needs a value"},
      {"m.stl grabimage --quiet=now", "--quiet takes no value"},
      {"m.stl grabimage --quiet now", "now: expected --PARAMETER VALUE after grabimage; scenes stand before"},
      {"grabimage --width 3 --", "--: expected --PARAMETER VALUE after grabimage"},
      {"m.stl grabimage --settings s.ini", "--settings stands before the command"},
      {"--settings= m.stl grabimage", "--settings \"\": expected a file name"},
      {"--settings / m.stl grabimage", "--settings /: expected an ordinary file"},
      {"--settings /none/s.ini m.stl grabimage", "expected a file in a directory that exists, which /none does not"},
      {"--view fron m.stl grabimage", "did you mean \"front\"?"},
      {"--samples -1 m.stl grabimage", "--samples -1: expected a whole number from 0 to 64"},
      {"--samples 65 m.stl grabimage", "--samples 65: expected a whole number"},
      {"--turntable 0 m.stl grabvideo", "--turntable 0: expected"},
      {"--turntable 9 m.stl grabvideo --trajectory t.csv", "exclude each other"},
      {"--animation walk --turntable 9 m.stl grabvideo", "exclude each other"},
      {"--element arm m.stl grabvideo", "--element: --trajectory FILE is missing"},
      {"--element= m.stl grabvideo --trajectory t.csv", "--element \"\": expected an element's name"},
      {"--up 0,0,0 m.stl grabimage", "--up 0,0,0: expected a direction"},
      {"--steps 5:4 m.stl grabvideo", "--steps 5:4: expected"},
      {"--section 50% m.stl grabimage", "--section 50%: expected x=0.3, y=50% or -z=0.3, or three points"},
      {"--section x=nan m.stl grabimage", "--section x=nan: expected"},
      {"--section 0,0,0:1,1,1:2,2,2 m.stl grabimage", "that are not on one line"},
      {"--duration 0 m.stl grabvideo", "--duration 0: expected"},
      {"--read-timeout 0 m.stl grabvideo", "--read-timeout 0: expected"},
      {"--dry-run m.stl", "--dry-run is for the run of a command, and none is given"},
      {"--report= m.stl grabimage", "--report \"\": expected a file name"},
      {"grabimge --width 3", "grabimge: unknown command; did you mean \"grabimage\"?"},
      {"m.stl grab --width 3", "did you mean \"grabimage\" or \"grabvideo\"?"},
      {"help", "did you mean \"--help\"?"},
      {"grabimage grabvideo --filename a.mp4", "grabvideo: expected --PARAMETER VALUE after grabimage"},
      {"mstl grabimage --filename a.png", "mstl: neither a command nor a file"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.line);
    const CommandLine line = parsed(row.line);
    EXPECT_THAT(line.error.toStdString(), HasSubstr(row.reason));
    EXPECT_FALSE(line.error.contains('\n'));
  }
  EXPECT_EQ(parsed("xyzzy").error, "xyzzy: neither a command nor a file") << "nothing is close";
}

TEST(Interrupt, TakesWhatComesAtOnceForOneWish) {
  const Interrupt interrupt;
  std::vector<int> wishes;
  QObject::connect(&interrupt, &Interrupt::interrupted, [&](int signal) { wishes.push_back(signal); });
  for (const int signal : {SIGTERM, SIGINT, SIGTERM}) std::raise(signal);
  QCoreApplication::processEvents();
  EXPECT_THAT(wishes, testing::ElementsAre(SIGTERM));
  QThread::msleep(1100);
  std::raise(SIGINT);
  QCoreApplication::processEvents();
  EXPECT_THAT(wishes, testing::ElementsAre(SIGTERM, SIGINT)) << "a second one by hand";
}

TEST(ProgressLine, FitsTheTerminal) {
  EXPECT_EQ(progressLine("Building tiles", 50, 67, 67, 80),
            "Building tiles [###############               ]  50 % 1:07, 1:07 left");
  EXPECT_EQ(progressLine("Saving", -1, 0, -1, 80), "Saving");
  for (int columns : {0, 5, 40, 60})
    EXPECT_LE(progressLine("Building tiles of a picture", 99, 100000, 100000, columns).size(), columns);
}

}  // namespace
