// Runs the program itself, the way a user does.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QProcess>
#include <QSettings>
#include <QTemporaryDir>
#include <csignal>

#include <sys/stat.h>

using testing::HasSubstr;

namespace {

struct Outcome {
  int status = -1;
  QString output;
  QString errors;
};

class Program : public testing::Test {
 protected:
  QString path(const QString& name) const { return m_Directory.filePath(name); }

  void write(const QString& name, const QByteArray& content) {
    QFile file(path(name));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(content);
  }

  QProcessEnvironment environment() const {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"}) environment.remove(name);
    return environment;
  }

  /// Runs in the test's directory.
  Outcome execute(const QString& program, const QStringList& arguments, const QProcessEnvironment& environment) const {
    QProcess process;
    process.setWorkingDirectory(m_Directory.path());
    process.setProcessEnvironment(environment);
    process.start(program, arguments);
    Outcome outcome;
    if (process.waitForFinished(120000) && process.exitStatus() == QProcess::NormalExit)
      outcome.status = process.exitCode();
    outcome.output = QString::fromLocal8Bit(process.readAllStandardOutput());
    outcome.errors = QString::fromLocal8Bit(process.readAllStandardError());
    return outcome;
  }
  /// With settings of its own. `line` is split at blanks.
  Outcome run(const QString& line, const QProcessEnvironment& environment) const {
    return execute(NUBO_TEST_BIN_DIR "/nubo",
                   QStringList{"--settings", m_Settings.filePath("nubo.ini")} + line.split(' '), environment);
  }
  Outcome run(const QString& line) const { return run(line, environment()); }
  /// Runs a line of the shell's, in which $bin is the program's directory.
  Outcome shell(const QString& line) const {
    return execute("/bin/sh", {"-c", "bin=" NUBO_TEST_BIN_DIR "; " + line}, environment());
  }

  QStringList files() const { return QDir(m_Directory.path()).entryList(QDir::Files | QDir::Hidden); }

  QTemporaryDir m_Directory;
  QTemporaryDir m_Settings;
};

void expectOneLine(const Outcome& outcome, int status, const char* part) {
  EXPECT_EQ(outcome.status, status) << outcome.errors.toStdString();
  EXPECT_THAT(outcome.errors.toStdString(), HasSubstr(part));
  EXPECT_TRUE(outcome.errors.startsWith("nubo: ")) << outcome.errors.toStdString();
  EXPECT_EQ(outcome.errors.count('\n'), 1) << outcome.errors.toStdString();
  EXPECT_EQ(outcome.output, "");
}

TEST_F(Program, SaysInOneLineWhatIsWrong) {
  write("empty.glb", "");
  write("garbage.glb", QByteArray("glTF").append(QByteArray(5000, '\x9d')));
  write("garbage.fbx", QByteArray(5000, '\x9d'));
  write("truncated.stl", QByteArray(80, ' ') + QByteArray("\x10\x27\x00\x00", 4) + QByteArray(500, '\1'));
  write("hollow.obj", "# no geometry\n");
  write("nan.obj", "v nan nan nan\nv 1 0 0\nv 0 1 0\nf 1 2 3\n");
  write("model.unknown", "?");
  write("camera.ogex", "Metric (key = \"up\") {string {\"z\"}}\nCameraNode {}\n");
  write("ok.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n");
  write("old.png", "old");
  ASSERT_TRUE(QDir(m_Directory.path()).mkdir("folder"));
  ASSERT_EQ(mkfifo(qPrintable(path("pipe.png")), 0600), 0);
  const QStringList before = files();

  struct Row {
    const char* line;
    int status;
    const char* part;
  };
  const Row rows[] = {
      {"missing.glb grabimage --filename a.png", 2, "cannot read 'missing.glb': there is no such file"},
      {"two\nlines.glb grabimage --filename a.png", 2, "cannot read 'two\\x0alines.glb'"},
      {"empty.glb grabimage --filename a.png", 1, "empty.glb"},
      {"garbage.glb grabimage --filename a.png", 1, "garbage.glb"},
      {"garbage.fbx grabimage --filename a.png", 1, "garbage.fbx"},
      {"truncated.stl grabimage --filename a.png", 1, "truncated.stl"},
      {"hollow.obj grabimage --filename a.png", 1, "hollow.obj"},
      {"nan.obj grabimage --filename a.png", 1, "nan.obj"},
      {"model.unknown grabimage --filename a.png", 1, "model.unknown"},
      {"camera.ogex grabimage --filename a.png", 1, "camera.ogex"},
      {"folder grabimage --filename a.png", 2, "cannot read 'folder': it is a directory"},
      {"grabimage --filename a.png --width 0", 2, "--width: Target picture (0 x 0) size is to small!"},
      {"grabimage --filename a.png --width 1", 2, "size is to small!"},
      {"grabimage --filename a.png --width -5", 2, "size is to small!"},
      {"grabimage --filename a.jpg --width 70000", 2, "does not fit into a “.jpg” file"},
      {"garbage.glb grabimage --filename a.xyz", 2, "No valid image file extension selected"},
      {"garbage.glb grabvideo --filename a.y4m --width 8", 2,
       "--width: Selected width or height is to small (min. 16)"},
      {"grabimage --filename a.png --width abc", 2, "\"abc\""},
      {"grabimage --filename a.png --width 2147483647", 2, "MB are free"},
      {"grabimage --filename a.png --width 2147483648", 2, "2147483648"},
      {"grabimage --filename a --width 64", 2, "--filename: No valid image file extension selected"},
      {"grabimage --filename a.xyz --width 64", 2, "No valid image file extension selected"},
      {"grabimage --filename a.PNG --width 64", 2, "No valid image file extension selected"},
      {"grabimage --filename folder --width 64", 2, "--filename folder --width 64: --filename: is a directory"},
      {"grabimage --filename none/a.png --width 64", 2, "does not exist"},
      {"grabimage --filename old.png/a.png --width 64", 2, "is not a directory"},
      {"grabimage --filename /proc/a.png --width 64", 2, "cannot write into the directory /proc"},
      {"hollow2.stl ok.obj grabimage --filename a.png", 2, "cannot read 'hollow2.stl': there is no such file"},
      {"ok.obj hollow.obj grabimage --filename a.png", 1, "hollow.obj"},
      {"grabimage --width 64", 2, "--filename is missing"},
      {"grabimage --filename a.png --widht 64", 2, "did you mean \"--width\"?"},
      {"grabimagee --filename a.png", 2, "did you mean \"grabimage\"?"},
      {"--siez 3x3 grabimage --filename a.png", 2, "did you mean \"--size\"?"},
      {"--duration 3 grabimage --filename a.png", 2, "--duration: grabimage cannot be ended early"},
      {"--settings ok.obj grabimage --filename a.png", 2, "ok.obj cannot be read"},
      {"grabimage --filename pipe.png --width 64", 2, "--filename: is not an ordinary file"},
      {"grabvideo --filename pipe.png", 2, "--filename: is not an ordinary file"},
      {"builtin", 2, "a window needs a display"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.line);
    expectOneLine(run(row.line), row.status, row.part);
    EXPECT_EQ(files(), before) << "nothing is left behind";
  }
  QFile old(path("old.png"));
  ASSERT_TRUE(old.open(QIODevice::ReadOnly));
  EXPECT_EQ(old.readAll(), "old");
}

TEST_F(Program, SaysWhatItLacks) {
  struct Row {
    const char* line;
    int status;
    const char* part;
  };
  const Row rows[] = {
      {"$bin/nubo --help > /dev/full", 1, "standard output: No space left on device"},
      {"$bin/nubo --list-commands >&-", 1, "standard output: Bad file descriptor"},
      {"$bin/nubo \"$(printf '\\377.obj')\" grabimage --filename a.png", 2, "this is not text in the encoding"},
      {"QT_QPA_PLATFORM=odd $bin/nubo --version", 1, "Could not find the Qt platform plugin \"odd\""},
      {"mkdir -p tree/bin && cp $bin/nubo tree/bin && ln -s $bin/../lib tree && tree/bin/nubo --help", 1,
       "tree/bin/plugins\n"},
      {"ln -s $bin/plugins tree/bin && tree/bin/nubo --list-commands", 1, "no module with commands was found in /"},
      {"tree/bin/nubo grabimage --filename a.png", 1, "grabimage: unknown command; no module with commands was found"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.line);
    expectOneLine(shell(row.line), row.status, row.part);
  }
}

TEST_F(Program, SaysWhatToInstallWithoutOpenGL) {
  QProcessEnvironment withoutEgl = environment();
  withoutEgl.insert("__EGL_VENDOR_LIBRARY_FILENAMES", path("no-such-driver.json"));
  for (const char* display : {"", ":4711"}) {
    withoutEgl.insert("DISPLAY", display);
    expectOneLine(run("grabimage --filename a.png --width 64", withoutEgl), 1, "install libegl-mesa0");
  }
  const Outcome video = run("grabvideo --filename a.y4m", withoutEgl);
  EXPECT_EQ(video.status, 1);
  EXPECT_THAT(video.errors.toStdString(), HasSubstr("install libegl-mesa0"));
  EXPECT_TRUE(files().isEmpty());
  // What needs no OpenGL works all the same.
  const Outcome list = run("--list-commands", withoutEgl);
  EXPECT_EQ(list.status, 0);
  EXPECT_EQ(list.errors, "");
  EXPECT_THAT(list.output.toStdString(), HasSubstr("grabimage "));
  EXPECT_EQ(run("setvideosettings --fps 12", withoutEgl).status, 0);
}

TEST_F(Program, GrabsTheSceneAsTheOptionsSay) {
  write("triangle.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n");
  const Outcome front = run("--size 300x200 --view front triangle.obj grabimage --filename front.png --width 90");
  ASSERT_EQ(front.status, 0) << front.errors.toStdString();
  EXPECT_EQ(front.errors, "");
  EXPECT_THAT(front.output.toStdString(), HasSubstr("front.png"));
  const QImage image(path("front.png"));
  ASSERT_EQ(image.size(), QSize(90, 60)) << "the panel's aspect ratio";
  // Seen from the front, the triangle has its right angle at the lower left.
  const auto weight = [&](int left, int top) {
    int sum = 0;
    for (int y = top; y < top + 30; ++y)
      for (int x = left; x < left + 45; ++x) sum += image.pixelColor(x, y).alpha();
    return sum;
  };
  EXPECT_GT(weight(0, 30), 2 * weight(45, 0));
  EXPECT_GT(weight(0, 30), 0);
  EXPECT_EQ(image.pixelColor(0, 0).alpha(), 0);

  const Outcome side = run("--quiet --size 300x200 --view top triangle.obj grabimage --filename top.png --width 90");
  EXPECT_EQ(side.status, 0);
  EXPECT_EQ(side.output + side.errors, "");
  EXPECT_NE(QImage(path("top.png")), image);

  // Two scenes and a late option: squares at both ends of an empty middle.
  write("left.obj", "v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nf 1 2 3 4\n");
  write("right.obj", "v 9 0 0\nv 10 0 0\nv 10 1 0\nv 9 1 0\nf 1 2 3 4\n");
  const Outcome both = run("--quiet left.obj right.obj grabimage --filename both.png --width 200 --view front");
  EXPECT_EQ(both.status, 0) << both.errors.toStdString();
  const QImage squares(path("both.png"));
  ASSERT_EQ(squares.width(), 200);
  const int middle = squares.height() / 2;
  for (const auto& [x, alpha] : {std::pair(1, 0), {12, 255}, {100, 0}, {187, 255}, {198, 0}})
    EXPECT_EQ(qAlpha(squares.pixel(x, middle)), alpha) << "the scene fills the width, at " << x;
}

// A Y4M file holds its frames uncompressed behind a line each, so a test can read them.
int framesOf(const QString& fileName) {
  QFile file(fileName);
  return file.open(QIODevice::ReadOnly) ? file.readAll().count("FRAME\n") : -1;
}

TEST_F(Program, RecordsTheStepsOfATrajectory) {
  write("triangle.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n");
  write("points.csv", "0,0,0\n1,0,0\n1,1,0\n1,1,1\n");
  write("broken.csv", "0,0,0\n1,0,here\n");
  const QString record = " triangle.obj grabvideo --filename a.y4m --width 32 --height 32 --sync 1";
  struct Row {
    const char* options;
    int frames;
  };
  const Row rows[] = {
      {"--turntable 7", 7}, {"--turntable 7 --steps 2:4", 3}, {"--trajectory points.csv", 4}, {"--steps 0:0", 1}};
  for (const Row& row : rows) {
    SCOPED_TRACE(row.options);
    const Outcome outcome = run(row.options + record);
    EXPECT_EQ(outcome.status, 0) << outcome.errors.toStdString();
    EXPECT_EQ(framesOf(path("a.y4m")), row.frames);
    QFile::remove(path("a.y4m"));
  }
  expectOneLine(run("--trajectory broken.csv" + record), 1, "broken.csv");
  expectOneLine(run("--trajectory none.csv" + record), 2, "none.csv");
  expectOneLine(run("--trajectory points.csv --element gear" + record), 2, "no such element");
  expectOneLine(run("--turntable 7 --steps 5:7" + record), 2, "has 7 steps");
  EXPECT_FALSE(QFileInfo::exists(path("a.y4m")));
}

TEST_F(Program, EndsARecordingInTimeOrOnCtrlC) {
  const QString record = "grabvideo --filename a.y4m --width 32 --height 32 --sync 0";
  EXPECT_EQ(run("--duration 3 " + record).status, 0);
  EXPECT_GT(framesOf(path("a.y4m")), 0);

  QFile::remove(path("a.y4m"));
  QProcess process;
  process.setWorkingDirectory(m_Directory.path());
  process.setProcessEnvironment(environment());
  process.start(NUBO_TEST_BIN_DIR "/nubo", QString("--settings nubo.ini " + record).split(' '));
  // The file is there as soon as the recording has begun; frames follow soon, but are written at the end only.
  while (!QFileInfo::exists(path("a.y4m")) && process.state() != QProcess::NotRunning) process.waitForFinished(20);
  process.waitForFinished(3000);
  kill(pid_t(process.processId()), SIGINT);
  ASSERT_TRUE(process.waitForFinished(60000));
  EXPECT_EQ(process.exitStatus(), QProcess::NormalExit);
  EXPECT_EQ(process.exitCode(), 0);
  EXPECT_GT(framesOf(path("a.y4m")), 0) << "what was recorded is encoded";
}

TEST_F(Program, TellsAboutItsCommandsAndItself) {
  struct Row {
    const char *line, *part;
  };
  const Row rows[] = {
      {"--help", "--turntable <N>"},
      {"grabimage --help", "--width NUMBER"},
      {"builtin grabvideo --help", "--sync YES|NO"},
      {"grabvideo --help", "(*.y4m)"},
      {"grabimage --help", "(*.png)"},
      {"--version", "Module Grab: Offers picture and video grabbing of the scene"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.line);
    const Outcome outcome = run(row.line);
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.errors, "");
    EXPECT_THAT(outcome.output.toStdString(), HasSubstr(row.part));
  }
}

TEST_F(Program, StoresSettingsAndKeepsTheOthers) {
  ASSERT_EQ(run("setvideosettings --fps 30 --bitrate 4000").status, 0);
  ASSERT_EQ(run("setvideosettings --fps 12").status, 0);
  QSettings settings(m_Settings.filePath("nubo.ini"), QSettings::IniFormat);
  EXPECT_EQ(settings.value("settings/grabvideofps").toInt(), 12);
  EXPECT_EQ(settings.value("settings/grabvideokbps").toInt(), 4000);
  expectOneLine(run("--settings /proc/nubo.ini setvideosettings --fps 12"), 1,
                "the settings cannot be written to /proc/nubo.ini");
}

}  // namespace
