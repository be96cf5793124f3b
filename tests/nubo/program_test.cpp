// What the program does for a call, from its words to its exit status.
#include <QSettings>
#include <chrono>
#include <csignal>
#include <thread>

#include "nubo/programfixture.h"

namespace {

TEST_F(Program, SaysInOneLineWhatIsWrong) {
  write("garbage.glb", QByteArray("glTF").append(QByteArray(5000, '\x9d')));
  write("model.unknown", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n");
  write("broken.csv", "0,0,0\n1,0,here\n");
  write("old.png", "old");
  write("text.glb", "a cube\n");
  const Failure rows[] = {
      {"$nubo text.glb grabimage --filename a.png", 1, "it is damaged, or no glTF: parse error at line 1, column 1\n"},
      {"$nubo missing.glb grabimage --filename a.png", 2, "cannot read 'missing.glb': there is no such file"},
      {"$nubo --environment none.hdr grabimage --filename a.png", 2, "'none.hdr': there is no such file"},
      {"$nubo \"two\nlines.glb\" grabimage --filename a.png", 2, "cannot read 'two\\x0alines.glb'"},
      {"$nubo garbage.glb grabimage --filename a.png", 1, "garbage.glb"},
      {"$nubo triangle.obj garbage.glb model.unknown grabimage --filename a.png", 1, "cannot read 'garbage.glb'"},
      {"$nubo model.unknown grabimage --filename a.png", 1, "cannot read 'model.unknown': its format is not known"},
      {"$nubo garbage.glb grabimage --filename a.xyz", 2, "--filename: No valid image file extension selected"},
      {"$nubo grabimage --filename a.png --width 0", 2, "--width: Target picture (0 x 0) size is to small!"},
      {"$nubo grabimage --filename a.png --width 2147483647", 2, "MB are free"},
      {"$nubo --duration 3 grabimage --filename a.png", 2, "--duration: grabimage cannot be ended early"},
      {"$bin/nubo --settings points.csv grabimage --filename a.png", 2, "points.csv cannot be read"},
      {"$bin/nubo --settings /proc/s.ini setvideosettings", 1, "the settings cannot be written to /proc/s.ini"},
      {"$nubo --trajectory broken.csv grabvideo --filename a.y4m", 1, "broken.csv"},
      {"$nubo --turntable 7 --steps 5:7 grabvideo --filename a.y4m", 2, "has 7 steps"},
      {"$nubo --view camera:side triangle.obj grabimage --filename a.png", 2,
       "camera:side: the scene has no such camera"},
      {"$nubo --variant dusk " NUBO_TEST_DATA "/gltf/variants.gltf grabimage --filename a.png", 2,
       "no such variant; the scene has \"day\", \"night\""},
      {"$nubo --info", 2, "a model file is missing"},
      {"$nubo --info missing.stl", 1, "cannot read 'missing.stl': there is no such file"},
      {"$nubo --json triangle.obj grabimage --filename a.png", 2, "--info FILE is missing"},
      {"$nubo builtin", 2, "a window needs a display"},
      {"$nubo --view all grabimage --filename a.png", 2, "--view all: {view} is missing in the name of a file"},
      {"$nubo --camera-path points.csv grabvideo --filename a.y4m", 1, "cannot read 'points.csv': line 1: 3 values"},
      {"$nubo --camera 1,2 grabimage --filename a.png", 2, "--camera 1,2: expected three numbers, X,Y,Z"},
      {"$nubo --camera 1,2,3 --view top grabimage --filename a.png", 2, "--camera and --view exclude each other"},
      {"$nubo --help > /dev/full", 1, "standard output: No space left on device"},
      {"$nubo \"$(printf '\\377.obj')\" grabimage --filename a.png", 2, "this is not text in the encoding"},
      {"QT_QPA_PLATFORM=odd $nubo --version", 1, "Could not find the Qt platform plugin \"odd\""},
      // Qt's own platform leaves its screen behind, which is for no leak checker to tell of here.
      {"ASAN_OPTIONS=detect_leaks=0 QT_QPA_PLATFORM=offscreen $nubo grabvideo --filename a.y4m", 1,
       "without that variable a platform is found"},
      {"__EGL_VENDOR_LIBRARY_FILENAMES=none DISPLAY=:4711 $nubo grabvideo --filename a.y4m", 1, "libegl-mesa0"},
  };
  for (const Failure& row : rows) expectFailure(row);
  QFile old(path("old.png"));
  ASSERT_TRUE(old.open(QIODevice::ReadOnly));
  EXPECT_EQ(old.readAll(), "old");
}

TEST_F(Program, SaysWhatItLacks) {
  ASSERT_EQ(run("mkdir -p tree/bin && cp $bin/nubo tree/bin && ln -s $bin/../lib tree"), 0);
  expectFailure({"tree/bin/nubo --help", 1, "tree/bin/plugins\n"});
  ASSERT_EQ(run("ln -s $bin/plugins tree/bin"), 0);
  expectFailure({"tree/bin/nubo --list-commands", 1, "no module with commands was found in /"});
  expectFailure({"tree/bin/nubo grabimage --filename a.png", 1, "grabimage: unknown command; no module with commands"});
  ASSERT_EQ(run("mkdir more && ln -s $bin/modules more && NUBO_PLUGIN_PATH=none:more tree/bin/nubo --list-commands"),
            0);
  EXPECT_THAT(m_Output.toStdString(), HasSubstr("grabimage"));
}

TEST_F(Program, DrawsAsPlainlyAsItsOpenGLAllowsAndSaysSo) {
  const QString grab = "$nubo --size 90x60 --view front %1 triangle.obj grabimage --filename a.png --width 90";
  const QString older = "MESA_GL_VERSION_OVERRIDE=%1 MESA_EXTENSION_OVERRIDE=%2 " + grab.arg("");
  struct Row {
    const char *version, *extensions, *lacks, *plainly;
  };
  for (const Row& row : {Row{"2.0", "", "OpenGL 2.1", "--look plain"},
                         {"2.1", "-GL_ARB_fragment_shader", "shaders", "--look plain --samples 0"}}) {
    ASSERT_EQ(run(grab.arg(row.plainly)), 0);
    const QImage plain(path("a.png"));
    EXPECT_EQ(run(older.arg(row.version, row.extensions)), 0);
    EXPECT_EQ(m_Errors,
              QStringLiteral("nubo: This OpenGL lacks %1, scenes are drawn in the look \"plain\"\n").arg(row.lacks));
    EXPECT_EQ(QImage(path("a.png")), plain);
  }
  ASSERT_TRUE(QFile::remove(path("a.png")));
  EXPECT_EQ(run(older.arg("1.5", "")), 1);
  EXPECT_THAT(m_Errors.toStdString(), HasSubstr("This OpenGL cannot draw scenes, version 2.0 or newer is needed\n"));
  EXPECT_FALSE(QFile::exists(path("a.png")));
}

TEST_F(Program, TellsAboutItsCommandsAndItself) {
  struct Row {
    const char *line, *part;
  };
  const Row rows[] = {
      {"$nubo grabvideo --help", "(*.y4m)"},
      {"$nubo --version", "Module Grab: Offers picture and video grabbing of the scene"},
      {"__EGL_VENDOR_LIBRARY_FILENAMES=none $nubo --list-commands", "grabimage "},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.line);
    EXPECT_EQ(run(row.line), 0);
    EXPECT_EQ(m_Errors, "");
    EXPECT_THAT(m_Output.simplified().toStdString(), HasSubstr(row.part));
  }
}

TEST_F(Program, GrabsTheSceneAsTheOptionsSay) {
  ASSERT_EQ(run("$nubo --size 300x200 --view front triangle.obj grabimage --filename front.png --width 90"), 0);
  EXPECT_EQ(m_Errors, "");
  EXPECT_THAT(m_Output.toStdString(), HasSubstr("front.png ("));
  const QImage image(path("front.png"));
  ASSERT_EQ(image.size(), QSize(90, 60)) << "the panel's aspect ratio";
  // Seen from the front, the triangle has its right angle at the lower left.
  EXPECT_EQ(qAlpha(image.pixel(20, 55)), 255);
  EXPECT_EQ(qAlpha(image.pixel(70, 5)), 0);

  // Two scenes, an option behind the command: squares at both ends of an empty middle.
  write("-left.obj", "v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nf 1 2 3 4\n");
  write("right.obj", "v 9 0 0\nv 10 0 0\nv 10 1 0\nv 9 1 0\nf 1 2 3 4\n");
  EXPECT_EQ(run("$nubo --quiet -- -left.obj right.obj grabimage --filename both.png --width 200 --view front"), 0);
  EXPECT_EQ(m_Output + m_Errors, "");
  const QImage squares(path("both.png"));
  ASSERT_EQ(squares.width(), 200);
  const int middle = squares.height() / 2;
  for (const auto& [x, alpha] : {std::pair(1, 0), {12, 255}, {100, 0}, {187, 255}, {198, 0}})
    EXPECT_EQ(qAlpha(squares.pixel(x, middle)), alpha) << "the scene fills the width, at " << x;
}

TEST_F(Program, MakesPicturesToScale) {
  write("plate.obj", "v 0 0 0\nv 0.1 0 0\nv 0.1 0.05 0\nv 0 0.05 0\nf 1 2 3 4\n");
  struct Row {
    const char *scale, *width;
    double across;  // pixels of the plate
    int dotsPerMetre;
  };
  for (const Row& row : {Row{"1:2", "100mm@254dpi", 500, 10000}, {"2:1@cm", "900", 0.002 * 300 / 0.0254, 11811}}) {
    SCOPED_TRACE(row.scale);
    ASSERT_EQ(run(QStringLiteral("$nubo --size 400x300 --view front --scale %1 plate.obj grabimage --filename a.png "
                                 "--width %2")
                      .arg(row.scale, row.width)),
              0)
        << m_Errors.toStdString();
    EXPECT_EQ(m_Errors, "");
    const QImage picture(path("a.png"));
    double across = 0, up = 0;
    for (int x = 0; x < picture.width(); ++x) across += qAlpha(picture.pixel(x, picture.height() / 2)) / 255.0;
    for (int y = 0; y < picture.height(); ++y) up += qAlpha(picture.pixel(picture.width() / 2, y)) / 255.0;
    EXPECT_NEAR(across, row.across, 0.6);
    EXPECT_NEAR(up, row.across / 2, 0.6);
    EXPECT_NEAR(picture.dotsPerMeterX(), row.dotsPerMetre, 1);
  }
  const QString call = "$nubo --view front --scale %1 plate.obj %2 --filename b.png --width 100";
  EXPECT_EQ(run(call.arg("1:1", "grabimage")), 0);
  EXPECT_THAT(m_Errors.toStdString(), HasSubstr("--scale: the model does not fit into the picture"));
  expectFailure({"$nubo --scale 1:0 plate.obj grabimage --filename c.png", 2, "expected PAPER:SCENE"});
  expectFailure({"$nubo --scale 1:2 --zoom 2 plate.obj grabimage --filename c.png", 2, "exclude each other"});
  expectFailure({"$nubo --scale 1:2 plate.obj grabvideo --filename c.y4m", 2, "nothing that is printed to scale"});
}

TEST_F(Program, CutsTheSceneOpen) {
  write("cube.obj",
        "v 0 0 0\nv 4 0 0\nv 4 4 0\nv 0 4 0\nv 0 0 4\nv 4 0 4\nv 4 4 4\nv 0 4 4\n"
        "f 4 3 2 1\nf 5 6 7 8\nf 1 2 6 5\nf 2 3 7 6\nf 3 4 8 7\nf 4 1 5 8\n");
  const QString options = "--look plain --projection orthographic --size 400x400 --margin 0 --section -x=25% cube.obj ";
  // Seen from the side that is taken away, and from the front, from which a quarter is gone.
  std::vector<int> areas;
  for (const char* view : {"left", "front"}) {
    ASSERT_EQ(run(QStringLiteral("$nubo --view %1 %2 grabimage --filename cut.png --width 400").arg(view, options)), 0);
    EXPECT_EQ(m_Errors, "") << "it is closed";
    const QImage picture(path("cut.png"));
    std::map<QRgb, int> colors;
    for (int y = 0; y < picture.height(); ++y)
      for (int x = 0; x < picture.width(); ++x) ++colors[picture.pixel(x, y)];
    int most = 0;
    for (const auto& [color, count] : colors)
      if (qAlpha(color) == 255) most = std::max(most, count);
    areas.push_back(most);
  }
  EXPECT_GT(areas[0], 140000) << "of one colour";
  EXPECT_NEAR(areas[1], 0.75 * areas[0], 0.005 * areas[0]);

  // Two bodies that touch in the plane.
  write("colours.mtl", "newmtl left\nKd 1 0 0\nnewmtl right\nKd 0 1 0\n");
  QByteArray bodies = "mtllib colours.mtl\n";
  for (const int first : {0, 1}) {
    bodies += first ? "o right\nusemtl right\n" : "o left\nusemtl left\n";
    for (int corner = 0; corner < 8; ++corner)
      bodies += QStringLiteral("v %1 %2 %3\n")
                    .arg(0.3 + 0.7 * (first + corner % 2))
                    .arg(corner & 2 ? 1.0 : 0.3)
                    .arg(corner & 4 ? 1.0 : 0.3)
                    .toUtf8();
    for (const char* face : {"1 3 4 2", "5 6 8 7", "1 2 6 5", "3 7 8 4", "1 5 7 3", "2 4 8 6"}) {
      bodies += 'f';
      for (const QByteArray& corner : QByteArray(face).split(' '))
        bodies += ' ' + QByteArray::number(corner.toInt() + 8 * first);
      bodies += '\n';
    }
  }
  write("bodies.obj", bodies);
  for (const char* view : {"right", "30,20", "75,35"}) {
    const QString call =
        "$nubo --look plain --samples 0 --view %1 --section x=50% bodies.obj grabimage --filename cut.png --width 200";
    ASSERT_EQ(run(call.arg(view)), 0);
    const QImage picture(path("cut.png"));
    int kept = 0, others = 0;
    for (int y = 0; y < picture.height(); ++y)
      for (int x = 0; x < picture.width(); ++x) {
        const QRgb pixel = picture.pixel(x, y);
        if (qAlpha(pixel) == 255) ++(qRed(pixel) > 20 && qGreen(pixel) < 20 ? kept : others);
      }
    EXPECT_GT(kept, 2000) << view;
    EXPECT_EQ(others, 0) << view;
  }

  write("ends.obj", "v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nv 9 0 0\nv 10 0 0\nv 10 1 0\nv 9 1 0\nf 1 2 3 4\nf 5 6 7 8\n");
  const QString ends = "$nubo --view front --size 200x100 --background black ends.obj --turntable 2 --steps 0:0 ";
  ASSERT_EQ(run(ends + "grabvideo --filename a.y4m"), 0);
  const QByteArray whole = video();
  ASSERT_EQ(run(ends + "--section x=9.5 grabvideo --filename a.y4m"), 0);
  EXPECT_THAT(m_Errors.toStdString(), HasSubstr(" has a border where it is cut, and cannot be closed there\n"));
  const QByteArray cut = video();
  write("nameless.gltf",
        R"({"asset": {"version": "2.0"}, "nodes": [{"mesh": 0}, {"mesh": 0}], "scenes": [{"nodes": [0, 1]}], "scene": 0,
        "meshes": [{"primitives": [{"attributes": {"POSITION": 0}}]}],
        "accessors": [{"bufferView": 0, "componentType": 5126, "count": 3, "type": "VEC3"}],
        "bufferViews": [{"buffer": 0, "byteLength": 36}], "buffers": [{"byteLength": 36, "uri":
        "data:application/octet-stream;base64,AAAAAAAAAAAAAAAAAACAPwAAAAAAAAAAAAAAAAAAgD8AAAAA"}]})");
  ASSERT_EQ(run("$nubo --section x=50% nameless.gltf grabimage --filename a.png --width 20"), 0);
  EXPECT_THAT(m_Errors.toStdString(),
              HasSubstr("2 parts have borders where they are cut, and cannot be closed there\n"));
  ASSERT_EQ(cut.size(), whole.size());
  const auto lit = [](const QByteArray& bytes, int first) {  // of the first plane
    int count = 0;
    for (int i = 0; i < 200 * 100; ++i)
      count += std::uint8_t(bytes[bytes.indexOf("FRAME\n") + 6 + i]) > 40 && i % 200 / 100 == first;
    return count;
  };
  EXPECT_EQ(lit(cut, 0), lit(whole, 0));
  EXPECT_NEAR(lit(cut, 1), lit(whole, 1) / 2.0, lit(whole, 1) * 0.1);
  ASSERT_EQ(run(ends + "--section x=11 --dry-run grabvideo --filename b.y4m"), 0);
  EXPECT_THAT(m_Errors.toStdString(), HasSubstr("lies outside of the scene"));
}

TEST_F(Program, GrabsEachViewIntoAFileOfItsOwn) {
  ASSERT_EQ(run("$nubo --view all triangle.obj grabimage --filename 'a {view}.png' --width 60"), 0);
  const QStringList names = QDir(m_Directory.path()).entryList({"a *.png"});
  EXPECT_EQ(names.size(), 7) << qPrintable(names.join(' '));
  // The triangle lies in the plane that front and back look at, and only an edge of it is seen from the left.
  const auto covered = [&](const char* view) {
    const QImage image(path(QStringLiteral("a %1.png").arg(view)));
    int count = 0;
    for (int y = 0; y < image.height(); ++y)
      for (int x = 0; x < image.width(); ++x) count += qAlpha(image.pixel(x, y)) > 0;
    return count;
  };
  EXPECT_GT(covered("front"), 10 * covered("left"));

  // Names that a file cannot have, or that a direction has, stay apart.
  QByteArray nodes(R"({"mesh": 0})");
  for (const char* name : {"a/b", "a b", "front", "a-b-2"})
    nodes += QByteArray(R"(, {"camera": 0, "translation": [0.3, 0.3, 3], "name": ")") + name + R"("})";
  write("cameras.gltf",
        R"({"asset": {"version": "2.0"}, "scene": 0, "scenes": [{"nodes": [0, 1, 2, 3, 4]}], "nodes": [)" + nodes +
            R"(], "cameras": [{"type": "perspective", "perspective": {"yfov": 0.8, "znear": 0.1}}],
            "meshes": [{"primitives": [{"attributes": {"POSITION": 0}}]}],
            "accessors": [{"bufferView": 0, "componentType": 5126, "count": 3, "type": "VEC3", "min": [0, 0, 0], "max": [1, 1, 0]}],
            "bufferViews": [{"buffer": 0, "byteLength": 36}], "buffers": [{"byteLength": 36,
            "uri": "data:application/octet-stream;base64,AAAAAAAAAAAAAAAAAACAPwAAAAAAAAAAAAAAAAAAgD8AAAAA"}]})");
  ASSERT_EQ(run("$nubo --view all cameras.gltf grabimage --filename 'b {view}.png' --width 60"), 0);
  EXPECT_EQ(QDir(m_Directory.path()).entryList({"b *.png"}).join(' '),
            "b a-b-2-2.png b a-b-2.png b a-b.png b back.png b bottom.png b front-2.png b front.png b left.png "
            "b oblique.png b right.png b top.png");
}

TEST_F(Program, RecordsTheStepsOfATrajectory) {
  const std::pair<const char*, int> rows[] = {{"--turntable 7", 7},
                                              {"--turntable 7 --steps 2:4", 3},
                                              {"--trajectory points.csv", 4},
                                              {"--steps 0:0", 1},
                                              {"--camera-path way.csv", 26}};
  write("way.csv", "0, 3,3,3, 0,0,0\n1, 3,-3,3, 0,0,0\n");
  for (const auto& [options, count] : rows) {
    SCOPED_TRACE(options);
    EXPECT_EQ(
        run(QStringLiteral("$nubo %1 triangle.obj grabvideo --filename a.y4m --width 32 --height 32").arg(options)), 0)
        << m_Errors.toStdString();
    EXPECT_EQ(m_Errors, "");
    EXPECT_EQ(frames(), count);
    QFile video(path("a.y4m"));
    ASSERT_TRUE(video.open(QIODevice::ReadOnly));
    const QList<QByteArray> pictures = video.readAll().replace("FRAME\n", "\1").split('\1');
    EXPECT_TRUE(count == 1 || pictures[1] != pictures.last()) << "nothing moves";
    EXPECT_TRUE(video.remove());
  }
}

// A triangle as wide as half the view hangs on a bone that carries it from the left to the right.
TEST_F(Program, RecordsASkinThatFollowsItsBone) {
  ASSERT_EQ(run("$nubo --size 64x32 --view front --background black " NUBO_TEST_DATA
                "/models/skinned.x grabvideo --filename a.y4m"),
            0)
      << m_Errors.toStdString();
  const QByteArray all = video();
  ASSERT_EQ(frames(), 11);
  for (const auto& [place, side] : {std::pair(all.indexOf("FRAME\n"), 0), {all.lastIndexOf("FRAME\n"), 1}}) {
    std::array<int, 2> bright{};
    for (int y = 0; y < 32; ++y)
      for (int x = 0; x < 64; ++x)
        bright[std::size_t(x / 32)] += quint8(all[place + 6 + y * 64 + x]) > 60;  // the luma comes first
    EXPECT_GT(bright[std::size_t(side)], 50);
    EXPECT_LT(bright[std::size_t(1 - side)], 5);
  }
}

TEST_F(Program, EndsARecordingAndKeepsIt) {
  // A chunk is full after 61 frames of this size, and the file then begins to grow.
  ASSERT_EQ(run("$nubo setvideosettings --max-tempfile-size-mb 1"), 0);
  const QString record = "$nubo --turntable 100000 triangle.obj grabvideo --filename a.y4m --width 64 --height 64 ";
  struct Row {
    const char* options;
    std::vector<int> wishes;
    int status;
    const char* part;
  };
  const Row rows[] = {
      {"--sync 0 --duration 3", {}, 0, ""},
      {"--sync 0", {SIGINT}, 0, "grabvideo is ending; Ctrl-C again to give up\n"},
      {"--sync 1", {SIGINT}, 128 + SIGINT, " of 100,000 frames\n"},
      // What ends a process group, such as `timeout`, sends its signal twice.
      {"--sync 1", {SIGTERM, SIGTERM}, 128 + SIGTERM, " of 100,000 frames\n"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.options);
    QFile::remove(path("a.y4m"));
    start(record + row.options);
    while (!row.wishes.empty() && QFileInfo(path("a.y4m")).size() < 10000 && !m_Process.waitForFinished(20))
      ASSERT_EQ(m_Process.state(), QProcess::Running) << m_Process.readAllStandardError().toStdString();
    for (const int signal : row.wishes) {
      kill(pid_t(m_Process.processId()), signal);
      // A signal that still waits to be handled would take in the next.
      if (row.wishes.size() > 1) std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    EXPECT_EQ(wait(), row.status);
    EXPECT_THAT(m_Errors.toStdString(), testing::EndsWith(row.part));
    EXPECT_GT(frames(), 0);
    const std::string count = "ended early: " + std::to_string(frames()) + " of ";
    EXPECT_EQ(m_Errors.contains(count.c_str()), row.status > 128) << m_Errors.toStdString();
  }
  EXPECT_EQ(run("TMPDIR=/nowhere " + record + "--use-memory-buffer 0"), 1) << "it has nowhere to begin";
  EXPECT_THAT(m_Errors.toStdString(), testing::EndsWith(": Couldn't open temporary file\n"));
}

TEST_F(Program, AimsAtAQualityUntilABitRateIsChosen) {
  const QString record = QStringLiteral("$nubo --turntable 10 builtin grabvideo --width 320 --height 240 --filename ");
  ASSERT_EQ(run("$nubo setvideosettings --fps 30"), 0);
  ASSERT_EQ(run(record + "quality.mp4"), 0) << m_Errors.toStdString();
  ASSERT_EQ(run(record + "run.mp4 --bitrate 1200"), 0) << "the default, but given";
  ASSERT_EQ(run(record + "after.mp4"), 0);
  ASSERT_EQ(run("$nubo setvideosettings --bitrate 1200"), 0);
  ASSERT_EQ(run(record + "chosen.mp4"), 0);
  const auto bytes = [this](const char* name) { return QFileInfo(path(name)).size(); };
  EXPECT_NE(bytes("quality.mp4"), bytes("chosen.mp4"));
  EXPECT_EQ(bytes("after.mp4"), bytes("quality.mp4"));
  EXPECT_EQ(bytes("run.mp4"), bytes("chosen.mp4"));
}

TEST_F(Program, StoresSettingsAndKeepsTheOthers) {
  ASSERT_EQ(run("$nubo setvideosettings --fps 30 --bitrate 50"), 0);
  EXPECT_EQ(m_Errors, "nubo: setvideosettings: --bitrate 100 was stored in place of 50\n");
  ASSERT_EQ(run("__EGL_VENDOR_LIBRARY_FILENAMES=none $nubo setvideosettings --fps 12"), 0);
  EXPECT_EQ(m_Errors, "");
  const QSettings settings(m_Settings.filePath("nubo.ini"), QSettings::IniFormat);
  EXPECT_EQ(settings.value("settings/grabvideofps").toInt(), 12);
  EXPECT_EQ(settings.value("settings/grabvideokbps").toInt(), 100);
}

}  // namespace
