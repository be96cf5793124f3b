// Packs nubo, unpacks the packages into an empty folder, moves that elsewhere, and works with what is there.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QImage>
#include <QMimeDatabase>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <cstdlib>
#include <map>
#include <memory>

#include "module_scene/io/importer.h"

using testing::HasSubstr;

namespace {

struct Outcome {
  int status = -1;
  std::string output;
};

Outcome run(const QString& program, const QStringList& arguments, const QString& directory) {
  QProcess process;
  QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
  for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM", "LD_LIBRARY_PATH", "QT_PLUGIN_PATH"})
    environment.remove(name);
  process.setProcessEnvironment(environment);
  process.setProcessChannelMode(QProcess::MergedChannels);
  process.setWorkingDirectory(directory);
  process.start(program, arguments);
  Outcome outcome;
  if (process.waitForFinished(200000) && process.exitStatus() == QProcess::NormalExit)
    outcome.status = process.exitCode();
  outcome.output = process.readAll().toStdString();
  return outcome;
}

QByteArray contentOf(const QString& fileName) {
  QFile file(fileName);
  EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << fileName.toStdString();
  return file.readAll();
}

/// The files of a tar archive with their names, in order.
std::vector<std::pair<QString, QByteArray>> filesOfTar(const QByteArray& archive) {
  std::vector<std::pair<QString, QByteArray>> files;
  for (int at = 0; at + 512 <= archive.size() && archive[at] != '\0';) {
    const int size = archive.mid(at + 124, 11).toInt(nullptr, 8);
    files.emplace_back(QString::fromLatin1(archive.constData() + at), archive.mid(at + 512, size));
    at += 512 + (size + 511) / 512 * 512;
  }
  return files;
}

class Package : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    s_Directory = std::make_unique<QTemporaryDir>();
    ASSERT_TRUE(QDir(path()).mkdir("packages"));
    const Outcome packed = run(NUBO_CPACK, {"-G", "DEB", "-B", path("packages")}, NUBO_BUILD_TREE);
    ASSERT_EQ(packed.status, 0) << packed.output;
    for (const QString& package : QDir(path("packages")).entryList({"*.deb"}))
      ASSERT_EQ(run("dpkg-deb", {"-x", path("packages/" + package), path("unpacked")}, path()).status, 0);
    ASSERT_TRUE(QDir(path()).mkdir(QStringLiteral("Große Platte")));
    ASSERT_TRUE(QDir(path()).rename("unpacked/usr", QStringLiteral("Große Platte/nubo 0")));
  }
  static void TearDownTestSuite() { s_Directory.reset(); }

  static QString path(const QString& name = QString()) { return s_Directory->filePath(name); }
  static QString prefix(const QString& name = QString()) { return path(QStringLiteral("Große Platte/nubo 0/") + name); }

  static Outcome nubo(const QString& line) {
    const QStringList arguments = QStringList{"--settings", path("nubo.ini"), "--samples", "0"} + line.split(' ');
    return run(prefix("bin/nubo"), arguments, path());
  }
  static void expectDone(const QString& line) {
    const Outcome outcome = nubo(line);
    EXPECT_EQ(outcome.status, 0) << line.toStdString() << ": " << outcome.output;
  }

  /// Builds a project with nothing but the package, and puts the result where it says.
  static void build(const QString& source) {
    const QString folder = path("build of " + QFileInfo(source).fileName());
    const Outcome configured = run(NUBO_CMAKE,
                                   {"-G", NUBO_GENERATOR, "-S", source, "-B", folder, "-DCMAKE_PREFIX_PATH=" + prefix(),
                                    "-DCMAKE_CXX_FLAGS=-Wall -Wextra -Wpedantic -Werror"},
                                   path());
    ASSERT_EQ(configured.status, 0) << configured.output;
    const Outcome built = run(NUBO_CMAKE, {"--build", folder}, path());
    ASSERT_EQ(built.status, 0) << built.output;
    EXPECT_THAT(contentOf(folder + "/CMakeCache.txt").toStdString(),
                HasSubstr("nubo_DIR:PATH=" + prefix().toStdString()));
    const Outcome installed = run(NUBO_CMAKE, {"--install", folder}, path());
    ASSERT_EQ(installed.status, 0) << installed.output;
  }

  static std::string field(const QString& package, const QString& name) {
    const QStringList found = QDir(path("packages")).entryList({package + "_*.deb"});
    EXPECT_EQ(found.size(), 1);
    return run("dpkg-deb", {"-f", path("packages/" + found.value(0)), name}, path()).output;
  }

 private:
  static std::unique_ptr<QTemporaryDir> s_Directory;
};

std::unique_ptr<QTemporaryDir> Package::s_Directory;

TEST_F(Package, TellsWhatItNeeds) {
  EXPECT_THAT(field("nubo", "Depends"), testing::AllOf(HasSubstr("libqt5widgets5"), HasSubstr("libassimp5"),
                                                       HasSubstr("libavcodec"), HasSubstr("libdeflate"),
                                                       HasSubstr("qttranslations5-l10n")));
  EXPECT_THAT(field("nubo-dev", "Depends"), HasSubstr("nubo (= "));
}

TEST_F(Package, KnowsNothingOfWhereItWasBuilt) {
  int count = 0;
  for (QDirIterator file(prefix(), QDir::Files, QDirIterator::Subdirectories); file.hasNext(); ++count)
    EXPECT_FALSE(contentOf(file.next()).contains(NUBO_SOURCE_TREE)) << file.filePath().toStdString();
  EXPECT_GT(count, 60);
}

TEST_F(Package, IsOfferedForModelFiles) {
  qputenv("XDG_DATA_DIRS", QFile::encodeName(prefix("share")) + ":/usr/local/share:/usr/share");
  const QByteArray entry = contentOf(prefix("share/applications/nubo.desktop"));
  const QByteArray types = entry.mid(entry.indexOf("\nMimeType=") + 10).split('\n').first();
  const QMimeDatabase database;
  // Programs of a game console have the first suffix too, and pictures of an old drawing program the second.
  const std::map<QString, QByteArray> content = {{"3ds", QByteArray("MM\x1e\0\0\0\x02\0", 8)}, {"obj", "v 0 0 0\n"}};
  for (const char* suffix : {"3ds", "3mf", "dae", "fbx", "glb", "gltf", "lwo", "obj", "off", "ply", "stl", "x3d"}) {
    const auto found = content.find(suffix);
    const QString type = database
                             .mimeTypeForFileNameAndData(QStringLiteral("model.") + suffix,
                                                         found == content.end() ? QByteArray() : found->second)
                             .name();
    EXPECT_TRUE(types.split(';').contains(type.toLatin1())) << suffix << ": " << type.toStdString();
    EXPECT_TRUE(nubo::io::importableSuffixes().contains(suffix)) << suffix;
  }
}

TEST_F(Package, GrabsAPictureFromItsNewPlace) {
  expectDone("--size 64x48 grabimage --filename picture.png --width 1200");
  const QImage picture(path("picture.png"));
  ASSERT_EQ(picture.size(), QSize(1200, 900));
  EXPECT_EQ(qAlpha(picture.pixel(0, 0)), 0);
  int covered = 0;
  for (int y = 0; y < 900; ++y)
    for (int x = 0; x < 1200; ++x) covered += qAlpha(picture.pixel(x, y)) == 255;
  EXPECT_GT(covered, 1200 * 900 / 10);
}

TEST_F(Package, DescribesEveryOption) {
  ASSERT_EQ(run("gzip", {"-d", "-k", prefix("share/man/man1/nubo.1.gz")}, path()).status, 0);
  const QString page = QString::fromUtf8(contentOf(prefix("share/man/man1/nubo.1"))).remove('\\');
  const QString help = QString::fromStdString(nubo("--help").output);
  EXPECT_THAT(page.toStdString(), HasSubstr("--turntable"));
  for (const QString& line : help.split('\n').filter("  --")) {
    EXPECT_TRUE(page.contains(line.trimmed().section(QRegularExpression("[ ,]"), 0, 0))) << line.toStdString();
  }
}

TEST_F(Package, HasWholeHeaders) {
  QByteArray source;
  const QDir headers(prefix("include/nubo"));
  for (QDirIterator file(headers.path(), {"*.h"}, QDir::Files, QDirIterator::Subdirectories); file.hasNext();)
    source += "#include \"" + headers.relativeFilePath(file.next()).toUtf8() + "\"\n";
  EXPECT_TRUE(source.contains("\"module_grab/video/encoder.h\""));
  EXPECT_FALSE(source.contains("\"module_grab/grabber.h\"")) << "internal headers stay out";
  ASSERT_TRUE(QDir(path()).mkdir("headers"));
  const auto write = [](const QString& name, const QByteArray& content) {
    QFile file(path(name));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(content);
  };
  write("headers/all.cpp", source + "int main() { return nubo::grab::video::VideoEncoder::getInstance() == nullptr; }");
  write("headers/CMakeLists.txt",
        "cmake_minimum_required(VERSION 3.22)\nproject(headers LANGUAGES CXX)\nfind_package(nubo 0.1 REQUIRED)\n"
        "add_executable(includes all.cpp)\n"
        "target_link_libraries(includes nubo::kernel nubo::module_scene nubo::module_trajectory nubo::module_grab)\n");
  build(path("headers"));
}

/// The luma of a pixel as it stands in a YUV4MPEG2 file.
int luma(QRgb pixel) { return int(0.299 * qRed(pixel) + 0.587 * qGreen(pixel) + 0.114 * qBlue(pixel) + 0.5); }

TEST_F(Package, TakesTheExampleEncoder) {
  ASSERT_NO_FATAL_FAILURE(build(prefix("share/doc/nubo/examples/picturearchive")));
  constexpr int Width = 96, Height = 64, Frames = 5;
  const QString recording = "--turntable 5 grabvideo --width 96 --height 64 --filename ";
  expectDone(recording + "video.png.tar");
  expectDone(recording + "video.jpg.tar");
  expectDone(recording + "video.y4m");

  EXPECT_THAT(nubo("--version").output, HasSubstr("Qt image formats"));
  const auto pictures = filesOfTar(contentOf(path("video.png.tar")));
  const auto jpegs = filesOfTar(contentOf(path("video.jpg.tar")));
  const QByteArray raw = contentOf(path("video.y4m"));
  ASSERT_EQ(pictures.size(), Frames);
  ASSERT_EQ(jpegs.size(), Frames);
  EXPECT_EQ(pictures[4].first, "00004.png");
  EXPECT_EQ(jpegs[4].first, "00004.jpg");
  EXPECT_EQ(QImage::fromData(jpegs[4].second, "jpg").size(), QSize(Width, Height));
  constexpr int RawFrame = 6 + 3 * Width * Height;  // "FRAME\n" and three planes
  const int header = raw.size() - Frames * RawFrame;
  for (int i = 0; i < Frames; ++i) {
    const QImage picture = QImage::fromData(pictures[i].second, "png");
    ASSERT_EQ(picture.size(), QSize(Width, Height));
    int wrong = 0;
    for (int y = 0; y < Height; ++y)
      for (int x = 0; x < Width; ++x) {
        const auto expected = static_cast<unsigned char>(raw[header + i * RawFrame + 6 + y * Width + x]);
        wrong += luma(picture.pixel(x, y)) != expected;
      }
    EXPECT_EQ(wrong, 0) << "frame " << i;
  }
}

TEST_F(Package, TakesTheExampleModule) {
  ASSERT_NO_FATAL_FAILURE(build(prefix("share/doc/nubo/examples/contactsheet")));
  expectDone("--size 160x120 contactsheet --filename sheet.png --width 160");
  const QImage sheet(path("sheet.png"));
  ASSERT_EQ(sheet.size(), QSize(480, 240));
  const char* views[] = {"front", "right", "top", "back", "left", "bottom"};
  for (int i = 0; i < 6; ++i) {
    expectDone(QStringLiteral("--size 160x120 --view %1 grabimage --filename view.png --width 160").arg(views[i]));
    const QImage view(path("view.png"));
    ASSERT_EQ(view.size(), QSize(160, 120));
    int wrong = 0;
    for (int y = 0; y < 120; ++y)
      for (int x = 0; x < 160; ++x) {
        const QRgb expected = qPremultiply(view.pixel(x, y));
        const QRgb found = qPremultiply(sheet.pixel(i % 3 * 160 + x, i / 3 * 120 + y));
        wrong += std::abs(qRed(found) - qRed(expected)) > 2 || std::abs(qAlpha(found) - qAlpha(expected)) > 2;
      }
    EXPECT_EQ(wrong, 0) << views[i];
  }
}

}  // namespace
