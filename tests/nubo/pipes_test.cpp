// What scripts and shells build on: records, pipes, sizes, completion and the manual page.
#include <cmath>
#include <csignal>
#include <functional>

#include "nubo/cli/option.h"
#include "nubo/programfixture.h"

namespace {

/// Where a picture shows something, and to which side of that most of it lies.
struct Shown {
  QRect rect;
  double right = 0, down = 0;
};

Shown shown(const QImage& image) {
  Shown shown;
  QPointF sum;
  int count = 0;
  for (int y = 0; y < image.height(); ++y)
    for (int x = 0; x < image.width(); ++x) {
      if (qAlpha(image.pixel(x, y)) == 0) continue;
      shown.rect |= QRect(x, y, 1, 1);
      sum += QPointF(x, y);
      ++count;
    }
  const QPointF lean = sum / std::max(count, 1) - QRectF(shown.rect).center();
  shown.right = lean.x();
  shown.down = lean.y();
  return shown;
}

TEST_F(Program, KnowsEachOptionAndParameterEverywhere) {
  const auto outputOf = [this](const QString& line) {
    EXPECT_EQ(run(line), 0) << m_Errors.toStdString();
    return m_Output;
  };
  QFile file(QStringLiteral(NUBO_TEST_SOURCES "/docs/user-guide.md"));
  ASSERT_TRUE(file.open(QIODevice::ReadOnly));
  const QString guide = QString::fromUtf8(file.readAll());
  const QString manual = outputOf("$nubo --manual").replace("\\fR", " ").remove('\\');
  const QString completion = outputOf("$nubo --complete ''"), help = outputOf("$nubo --help");
  for (const QString& word : nubo::app::optionWords())
    for (const QString& text : {guide, manual, help, completion})
      EXPECT_TRUE(text.contains(QRegularExpression(word + "\\b(?!-)")))
          << word.toStdString() << " in " << text.left(40).toStdString();
  for (const char* command : {"grabimage", "grabvideo", "setvideosettings"}) {
    EXPECT_THAT('\n' + completion.toStdString(), HasSubstr(std::string("\n") + command + '\t'));
    const QString commandHelp = outputOf(QStringLiteral("$nubo %1 --help").arg(command));
    const QStringList lines =
        outputOf(QStringLiteral("$nubo --complete m.glb %1 ''").arg(command)).split('\n', Qt::SkipEmptyParts);
    EXPECT_GE(lines.size(), 4);
    for (const QString& line : lines)
      for (const QString& text : {commandHelp, manual})
        EXPECT_TRUE(text.contains(line.section('\t', 0, 0) + ' ')) << line.toStdString();
  }
}

TEST_F(Program, CompletesCalls) {
  struct Row {
    const char *words, *candidates;
  };
  const Row rows[] = {
      {"--vi", "--view"},
      {"--view to", "top"},
      {"--look=st", "--look=studio"},
      {"--trajectory ''", ":files"},
      {"grabv", "grabvideo :files"},
      {"m.glb grabvideo --fp", "--fps"},
      {"grabvideo --sync ''", "yes no"},
      {"grabvideo --sync --wi", "--width"},
      {"grabvideo --filename clip.m", "clip.mkv clip.mov clip.mp4 :files"},
      {"grabvideo --settin", ""},
      {"setvideosettings --bitrate ''", "1200"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.words);
    ASSERT_EQ(run(QStringLiteral("$nubo --complete ") + row.words), 0) << m_Errors.toStdString();
    QStringList words;
    for (const QString& line : m_Output.split('\n', Qt::SkipEmptyParts))
      words << line.section(QRegularExpression("[\t ]"), 0, 0);
    EXPECT_EQ(words.join(' ').toStdString(), row.candidates);
  }
  // As bash asks; a folder, and a file of a suffix that fits.
  write("o.MP4", "");
  write("o.txt", "");
  ASSERT_EQ(
      run("mkdir ofolder; bash -c '. " NUBO_TEST_SOURCES "/packaging/completion/nubo.bash; "
          "COMP_WORDS=($bin/nubo grabvideo --filename o); COMP_CWORD=3; _nubo 2>/dev/null; echo ${COMPREPLY[@]}'"),
      0);
  EXPECT_EQ(m_Output, "o.avi o.gif o.mkv o.mov o.mp4 o.webm o.y4m o.MP4 ofolder\n");
}

TEST_F(Program, TakesLengthsOnPaperAndKeepsTheResolution) {
  struct Row {
    const char *width, *file;
    int pixels;
    double dotsPerInch;
  };
  const Row rows[] = {{"180mm@300dpi", "a.png", 2126, 300},
                      {"2.5in@72dpi", "a.tiff", 180, 72},
                      {"10cm@150dpi", "a.jpg", 591, 150},
                      {"100@200dpi", "b.png", 100, 200}};
  for (const Row& row : rows) {
    SCOPED_TRACE(row.width);
    ASSERT_EQ(run(QStringLiteral("$nubo triangle.obj grabimage --filename %1 --width %2").arg(row.file, row.width)), 0)
        << m_Errors.toStdString();
    const QImage image(path(row.file));
    EXPECT_EQ(image.width(), row.pixels);
    EXPECT_NEAR(image.dotsPerMeterX() * 0.0254, row.dotsPerInch, 0.01 * row.dotsPerInch);
    EXPECT_EQ(image.dotsPerMeterY(), image.dotsPerMeterX());
  }
  const QString line = "$nubo triangle.obj grabimage --filename c.png --width ";
  for (const auto& [width, part] : {std::pair("0mm@300dpi", "less than a pixel"),
                                    {"180mm@1000000000dpi", "from 1 to 10000 dpi"},
                                    {"180mm@0dpi", "from 1 to 10000 dpi"},
                                    {"180mm", "such as 180mm@300dpi"},
                                    {"9e9mm@300dpi", "such as"},
                                    {"9999999999mm@300dpi", "too many pixels"}})
    expectFailure({qPrintable(line + width), 2, part});
}

TEST_F(Program, WorksBetweenPipes) {
  ASSERT_EQ(run("cat " NUBO_TEST_DATA "/models/many.ply | $nubo - grabimage --width 64 --filename -.png > out.png"), 0)
      << m_Errors.toStdString();
  EXPECT_EQ(m_Errors, "");
  const QImage image(path("out.png"));
  EXPECT_EQ(image.width(), 64);
  EXPECT_GT(shown(image).rect.width(), 20);
  ASSERT_EQ(run("$nubo --turntable 5 triangle.obj grabvideo --width 32 --height 32 --filename -.y4m --fps 9 > a.y4m"),
            0);
  EXPECT_EQ(frames(), 5);
  EXPECT_FALSE(QFile::exists(m_Settings.filePath("nubo.ini"))) << "folders that are gone are not remembered";
  expectFailure(
      {"$nubo - grabimage --filename c.png < /dev/null", 1, "cannot read 'standard input': the file is empty"});
  expectFailure(
      {"$nubo triangle.obj grabimage --width 64 --filename -.png > /dev/full", 1, "standard output: No space"});
}

TEST_F(Program, GivesAPictureUp) {
  write("old.bmp", "old");
  start("$nubo --report r.json triangle.obj grabimage --filename old.bmp --width 9000");
  // When it has a handler for the signal the command begins, and then the picture fills.
  waitUntilItCatches(SIGINT);
  const int before = told("VmRSS").split(' ').value(0).toInt();
  waitUntil([&] { return told("VmRSS").split(' ').value(0).toInt() > before + 60000; });
  kill(pid_t(m_Process.processId()), SIGINT);
  EXPECT_EQ(wait(), 128 + SIGINT);
  EXPECT_THAT(m_Errors.toStdString(), testing::EndsWith("stopped: nothing was written\n"));
  EXPECT_EQ(QFileInfo(path("old.bmp")).size(), 3);
  EXPECT_EQ(recordOf("r.json")["exitStatus"].toInt(), 128 + SIGINT);
}

TEST_F(Program, PutsTheCameraAnywhere) {
  // Upright, on the plane y = 0: a bar of height 4, which widens to the right at its foot. In OBJ, y is up.
  write("scene.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nv 0 4 0\nv 0.1 4 0\nf 1 2 3\nf 1 5 4\n");
  struct Row {
    const char* options;
    double width, height;
    int right, down;  ///< where the foot is
  };
  // The opening is 46.29 degrees: at a distance of 10 the picture is 8.548 high.
  const double perUnit = 200 / (2 * 10 * std::tan(9 * M_PI / 70));
  const Row rows[] = {
      {"--camera 0,-10,2 --target 0,0,2", 1, 4, 0, 1},
      {"--camera 0,-10,2 --target 0,0,2 --up 1,0,0", 4, 1, 1, 0},
      {"--camera 0,-10,2 --target 0,0,2 --roll 90", 4, 1, -1, 0},
      {"--camera 0,-20,2 --target 0,0,2 --zoom 2", 1, 4, 0, 1},
      {"--camera 0,-400,2 --target 0,0,2 --zoom 40", 1, 4, 0, 1},
      {"--camera 0,-10,2 --target 0,-20,2", 0, 0, 0, 0},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.options);
    ASSERT_EQ(run(QStringLiteral("$nubo --size 200x200 %1 scene.obj grabimage --filename a.png --width 200")
                      .arg(row.options)),
              0)
        << m_Errors.toStdString();
    const Shown seen = shown(QImage(path("a.png")));
    EXPECT_NEAR(seen.rect.width(), row.width * perUnit, 3);
    EXPECT_NEAR(seen.rect.height(), row.height * perUnit, 3);
    EXPECT_GE(row.right * seen.right, 5 * std::abs(row.right));
    EXPECT_GE(row.down * seen.down, 5 * std::abs(row.down));
  }
  write("scene.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nv 0 0 1\nf 1 2 3\nf 1 2 4\n");
  ASSERT_EQ(run("$nubo --camera 0.4,-0.5,0.5 scene.obj grabimage --filename a.png --width 64"), 0);
  EXPECT_EQ(m_Errors, "nubo: --camera: that is inside the model's box\n");
  expectFailure(
      {"$nubo --camera 1,2,3 --target 1,2,3 scene.obj grabimage --filename c.png", 2, "--camera: that is the point"});
  expectFailure(
      {"$nubo --view front --up 0,1,0 scene.obj grabimage --filename c.png", 2, "--up: that is the line of sight"});
}

}  // namespace
