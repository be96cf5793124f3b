// What the program tells of files, of what it is about to do, and of how that went.
#include <QSettings>
#include <csignal>

#include "nubo/programfixture.h"

namespace {

TEST_F(Program, TellsWhatIsInFiles) {
  ASSERT_EQ(run("$nubo --info --json triangle.obj " NUBO_TEST_DATA "/gltf/deformed.gltf missing.stl"), 1);
  const QJsonArray files = QJsonDocument::fromJson(m_Output.toUtf8()).array();
  ASSERT_EQ(files.size(), 3) << m_Output.toStdString();
  const QJsonObject triangle = files[0].toObject(), deformed = files[1].toObject();
  EXPECT_EQ(triangle["reader"], "assimp");
  EXPECT_EQ(triangle["faces"], 1);
  EXPECT_EQ(triangle["vertices"], 3);
  EXPECT_EQ(triangle["size"], (QJsonArray{1, 0, 1})) << "y is up in the file";
  EXPECT_EQ(triangle["animations"], QJsonArray());
  EXPECT_EQ(deformed["animations"].toArray()[1], (QJsonObject{{"name", "LINEAR"}, {"seconds", 1}}));
  EXPECT_TRUE(files[2].toObject()["error"].toString().contains("no such file"));
  EXPECT_EQ(deformed["cameras"].toArray()[0].toObject()["name"], "side");
  EXPECT_EQ(m_Errors, "nubo: cannot read 'missing.stl': there is no such file\n");

  write("door.urdf",
        "<robot name='door'><link name='wall'><visual><geometry><box size='1 1 1'/></geometry></visual></link>"
        "<link name='leaf'/><joint name='hinge' type='revolute'><parent link='wall'/><child link='leaf'/>"
        "<axis xyz='0 0 1'/><limit lower='-1' upper='2' effort='1' velocity='1'/></joint></robot>");
  ASSERT_EQ(run("$nubo --info --json door.urdf"), 0) << m_Errors.toStdString();
  EXPECT_EQ(QJsonDocument::fromJson(m_Output.toUtf8()).array()[0].toObject()["joints"].toArray(),
            (QJsonArray{QJsonObject{{"name", "hinge"}, {"kind", "turns"}, {"lower", -1}, {"upper", 2}}}));
  ASSERT_EQ(run("$nubo --info triangle.obj"), 0);
  EXPECT_THAT(m_Output.toStdString(), HasSubstr("triangle.obj\n  format     Wavefront OBJ (reader assimp)\n"));
  EXPECT_THAT(m_Output.toStdString(), HasSubstr("  faces      1\n"));
}

TEST_F(Program, LeavesAReportOfWhatWasInterruptedWhileItRead) {
  start("$nubo - --report r.json grabimage --filename a.png");  // from an input that says nothing
  waitUntilItCatches(SIGINT);
  kill(pid_t(m_Process.processId()), SIGINT);
  EXPECT_EQ(wait(), 128 + SIGINT);
  EXPECT_THAT(m_Errors.toStdString(), testing::EndsWith("interrupted while the scene was read\n"));
  const QJsonDocument record = recordOf("r.json");
  EXPECT_EQ(record["exitStatus"].toInt(), 128 + SIGINT);
  EXPECT_EQ(record["messages"][0]["kind"].toString(), "error");
  EXPECT_FALSE(QFile::exists(path("a.png")));
}

TEST_F(Program, MakesWhatItAnnounced) {
  struct Row {
    const char *options, *file, *arguments, *announced;
    std::map<QString, double> made;
  };
  const auto video = [](double frames, double seconds, double width, double height) {
    return std::map<QString, double>{{"frames", frames}, {"seconds", seconds}, {"width", width}, {"height", height}};
  };
  const Row rows[] = {
      {"--size 300x200",
       "a.png",
       "--width 2100",
       "2,100 × 1,400 pixels, about 21 MB while it is built\n",
       {{"width", 2100}, {"height", 1400}}},
      {"--size 64x48", "a.jpg", "--width 10", "10 × 7 pixels, about", {{"width", 10}, {"height", 7}}},
      {"--turntable 12", "a.mp4", "--width 63 --height 49 --fps 25", "steps 1 to 12: 12 frames, 0.5 s, 64 × 50\n",
       video(12, 0.48, 64, 50)},
      {"--turntable 12 --steps 2:7", "a.mkv", "--width 0 --height 48 --size 98x33 --fps 4",
       "steps 1 to 6: 6 frames, 1.5 s, 98 × 34\n", video(6, 1.5, 98, 34)},
      {"--turntable 9", "a.webm", "--width 64 --height 64 --fps 3", "9 frames, 3.0 s", video(9, 3, 64, 64)},
      {"--turntable 9", "a.mov", "--width 64 --height 64 --fps 90", "9 frames, 0.1 s", video(9, 0.1, 64, 64)},
      {"--turntable 9", "a.avi", "--width 64 --height 64 --fps 0", "9 frames, 9.0 s", video(9, 9, 64, 64)},
      {"--turntable 60", "a.gif", "--width 64 --height 64 --fps 60", "60 frames, 1.2 s", video(60, 1.2, 64, 64)},
      {"", "a.y4m", "--width 16 --height 16 --fps 5", "50 frames, 10.0 s, 16 × 16\n", video(50, 10, 16, 16)},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.file);
    const QString file = QString(row.file), suffix = file.section('.', -1);
    const bool isPicture = suffix == "png" || suffix == "jpg";
    const QString line = QStringLiteral("$nubo %1 %5 triangle.obj %2 --filename %3 %4")
                             .arg(row.options, isPicture ? "grabimage" : "grabvideo", file, row.arguments);
    ASSERT_EQ(run(line.arg("--dry-run")), 0) << m_Errors.toStdString();
    const std::string announced = m_Output.toStdString();
    EXPECT_THAT(announced, HasSubstr(row.announced));
    EXPECT_FALSE(QFile::exists(path(file)));
    ASSERT_EQ(run(line.arg("--report r.json")), 0) << m_Errors.toStdString();
    const QJsonDocument record = recordOf("r.json");
    EXPECT_EQ(record["summary"].toString().toStdString() + '\n', announced);
    const std::map<QString, double> read = isPicture ? measuredPicture(file) : measuredVideo(file);
    for (const auto& [name, value] : row.made) {
      EXPECT_NEAR(read.at(name), value, 0.011) << name.toStdString();
      EXPECT_NEAR(record["result"][name].toDouble(), value, 0.011) << name.toStdString();
    }
  }
  // Settings of one run are nobody else's; what it stores itself stays.
  const QSettings settings(m_Settings.filePath("nubo.ini"), QSettings::IniFormat);
  EXPECT_EQ(settings.allKeys(), QStringList({"lastGrabImageDirectory", "lastGrabVideoDirectory"}));
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)  // which take memory of their own
TEST_F(Program, TakesAsMuchMemoryAsItAnnounced) {
  write("peak.py",
        "import resource, subprocess, sys\nsubprocess.check_call(sys.argv[1:])\n"
        "print(resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss * 1024 / 1e6)\n");
  const auto peak = [this](const QString& suffix, int width) {
    const QString line =
        QStringLiteral("--quiet --look plain --samples 0 triangle.obj grabimage --filename a.%1 --width %2");
    EXPECT_EQ(run("python3 peak.py $nubo " + line.arg(suffix).arg(width)), 0) << m_Errors.toStdString();
    return m_Output.toDouble();
  };
  const double before = peak("png", 64);  // in a look that leaves little behind which a picture could use again
  for (const auto& [suffix, width] : {std::pair("png", 6000), {"jpg", 6000}, {"webp", 5000}}) {
    const double grown = peak(suffix, width) - before;
    run(QStringLiteral("$nubo --dry-run triangle.obj grabimage --filename a.%1 --width %2").arg(suffix).arg(width));
    const double announced = m_Output.section("about ", 1).section(' ', 0, 0).remove(',').toDouble();
    EXPECT_GT(announced, 60) << m_Output.toStdString();
    EXPECT_NEAR(grown, announced, 0.15 * announced) << suffix;
  }
}
#endif

TEST_F(Program, RecordsHowARunWent) {
  write("old.png", "old");
  write("model.unknown", "v 0 0 0");
  ASSERT_EQ(run("$nubo --report r.json triangle.obj grabimage --filename b.png --width 64 --view front"), 0);
  QJsonDocument record = recordOf("r.json");
  EXPECT_EQ(record["exitStatus"].toInt(-1), 0);
  EXPECT_EQ(record["scenes"].toArray(), QJsonArray{"triangle.obj"});
  EXPECT_EQ(record["options"]["view"].toString(), "front");
  EXPECT_EQ(record["parameters"]["width"].toString(), "64");
  EXPECT_EQ(record["files"][0]["bytes"].toDouble(), QFileInfo(path("b.png")).size());
  EXPECT_GE(record["seconds"]["all"].toDouble(), record["seconds"]["command"].toDouble());
  struct Row {
    const char* arguments;
    int status;
  };
  for (const auto& [arguments, status] : {Row{"missing.glb grabimage --filename c.png", 2},
                                          {"triangle.obj grabimage --filename c.png --witdh 3", 2},
                                          {"--size 0 triangle.obj grabimage", 2},
                                          {"model.unknown grabimage --filename c.png", 1},
                                          {"--no-overwrite triangle.obj grabimage --filename old.png", 2}}) {
    SCOPED_TRACE(arguments);
    EXPECT_EQ(run(QStringLiteral("$nubo --report r.json ") + arguments), status);
    record = recordOf("r.json");
    EXPECT_EQ(record["exitStatus"].toInt(), status);
    EXPECT_EQ("nubo: " + record["messages"][0]["text"].toString() + '\n', m_Errors);
  }
  for (const char* dryRun : {"", "--dry-run"}) {
    ASSERT_EQ(run(QStringLiteral("$nubo %1 --report - triangle.obj grabimage --filename b.png").arg(dryRun)), 0);
    EXPECT_EQ(QJsonDocument::fromJson(m_Output.toUtf8())["command"].toString(), "grabimage") << "and nothing else";
  }
  expectFailure({"$nubo --report - triangle.obj grabimage --filename -.png", 2, "takes one file"});
  expectFailure(
      {"$nubo --report none/r.json triangle.obj grabimage --filename c.png", 2, "--report none/r.json: the directory"});
  expectFailure(
      {"$nubo triangle.obj grabimage --filename r.json.png --report r.json.png", 2, "what the command writes"});
}

}  // namespace
