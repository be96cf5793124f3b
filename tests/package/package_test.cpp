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
#include <set>

#include "module_scene/io/importer.h"

using testing::HasSubstr;

namespace {

/// What the program said; fails the test unless it ended well.
std::string run(const QString& program, const QStringList& arguments, const QString& directory) {
  QProcess process;
  QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
  for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM", "LD_LIBRARY_PATH", "QT_PLUGIN_PATH"})
    environment.remove(name);
  process.setProcessEnvironment(environment);
  process.setProcessChannelMode(QProcess::MergedChannels);
  process.setWorkingDirectory(directory);
  process.start(program, arguments);
  const bool ended = process.waitForFinished(200000) && process.exitStatus() == QProcess::NormalExit;
  const std::string output = process.readAll().toStdString();
  EXPECT_TRUE(ended && process.exitCode() == 0) << program.toStdString() << arguments.join(' ').toStdString() << output;
  return output;
}

QByteArray contentOf(const QString& fileName) {
  QFile file(fileName);
  EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << fileName.toStdString();
  return file.readAll();
}

/// The names in a tar archive, in order, with the files.
std::vector<std::pair<QString, QByteArray>> filesOfTar(const QByteArray& archive) {
  std::vector<std::pair<QString, QByteArray>> files;
  for (int at = 0; at + 512 <= archive.size() && archive[at] != '\0';) {
    const int size = archive.mid(at + 124, 11).toInt(nullptr, 8);
    files.emplace_back(QString::fromLatin1(archive.constData() + at), archive.mid(at + 512, size));
    at += 512 + (size + 511) / 512 * 512;
  }
  return files;
}

/// The code that stands in a guide between a fence of that language and the next.
QByteArray codeOf(const QByteArray& guide, const QByteArray& language) {
  const int begin = guide.indexOf("\n```" + language + '\n') + language.size() + 5;
  return guide.mid(begin, guide.indexOf("\n```", begin) + 1 - begin);
}

class Package : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    s_Directory = std::make_unique<QTemporaryDir>();
    qputenv("NUBO_PLUGIN_PATH", QFile::encodeName(own("lib/nubo/bin")));
    ASSERT_TRUE(QDir(path()).mkdir("packages"));
    run(NUBO_CPACK, {"-G", "DEB", "-B", path("packages")}, NUBO_BUILD_TREE);
    for (const QString& package : QDir(path("packages")).entryList({"*.deb"}))
      run("dpkg-deb", {"-x", path("packages/" + package), path("unpacked")}, path());
    ASSERT_TRUE(QDir(path()).mkdir(QStringLiteral("Große Platte")));
    ASSERT_TRUE(QDir(path()).rename("unpacked/usr", QStringLiteral("Große Platte/nubo 0")));
  }
  static void TearDownTestSuite() { s_Directory.reset(); }

  static QString path(const QString& name = QString()) { return s_Directory->filePath(name); }
  static QString prefix(const QString& name = QString()) { return path(QStringLiteral("Große Platte/nubo 0/") + name); }

  /// A prefix of its own, where what was built is found by a variable.
  static QString own(const QString& name = QString()) { return path("own/" + name); }

  static std::string nubo(const QString& line) {
    const QStringList arguments = QStringList{"--settings", path("nubo.ini"), "--samples", "0"} + line.split(' ');
    return run(prefix("bin/nubo"), arguments, path());
  }

  /// Builds a project with nothing but the package, and puts the result below a prefix.
  static void build(const QString& source, const QString& into) {
    const QString folder = path("build of " + QFileInfo(source).fileName());
    const QStringList options = {"-DCMAKE_PREFIX_PATH=" + prefix(), "-DCMAKE_INSTALL_PREFIX=" + into,
                                 "-DCMAKE_CXX_FLAGS=-Wall -Wextra -Wpedantic -Werror"};
    run(NUBO_CMAKE, QStringList{"-G", NUBO_GENERATOR, "-S", source, "-B", folder} + options, path());
    EXPECT_THAT(contentOf(folder + "/CMakeCache.txt").toStdString(),
                HasSubstr("nubo_DIR:PATH=" + prefix().toStdString()));
    for (const char* step : {"--build", "--install"}) run(NUBO_CMAKE, {step, folder}, path());
  }

  /// Builds and installs what a guide has its readers write: a CMakeLists.txt, and a source of that name.
  static void buildGuide(const QString& guide, const QString& name) {
    const QByteArray text = contentOf(prefix("share/doc/nubo/" + guide));
    ASSERT_TRUE(QDir(path()).mkdir(name));
    for (const auto& [fileName, language] : {std::pair(QString("CMakeLists.txt"), "cmake"), {name + ".cpp", "cpp"}}) {
      QFile file(path(name + '/' + fileName));
      ASSERT_TRUE(file.open(QIODevice::WriteOnly));
      file.write(codeOf(text, language));
    }
    build(path(name), own());
  }

  static std::string field(const QString& package, const QString& name) {
    const QStringList found = QDir(path("packages")).entryList({package + "_*.deb"});
    EXPECT_EQ(found.size(), 1);
    return run("dpkg-deb", {"-f", path("packages/" + found.value(0)), name}, path());
  }

 private:
  static std::unique_ptr<QTemporaryDir> s_Directory;
};

std::unique_ptr<QTemporaryDir> Package::s_Directory;

TEST_F(Package, TellsWhatItNeeds) {
  EXPECT_THAT(field("nubo", "Depends"),
              testing::AllOf(HasSubstr("libqt5widgets5"), HasSubstr("libassimp5"), HasSubstr("libavcodec"),
                             HasSubstr("libdeflate"), HasSubstr("qttranslations5-l10n")));
  EXPECT_THAT(field("nubo", "Depends"), testing::Not(HasSubstr("libocct")));
  EXPECT_THAT(field("nubo-cad", "Depends"), testing::AllOf(HasSubstr("nubo (= "), HasSubstr("libocct-data-exchange")));
  EXPECT_THAT(field("nubo-dev", "Depends"), HasSubstr("nubo (= "));
}

TEST_F(Package, KnowsNothingOfWhereItWasBuilt) {
  int count = 0;
  for (QDirIterator file(prefix(), QDir::Files, QDirIterator::Subdirectories); file.hasNext(); ++count)
    EXPECT_FALSE(contentOf(file.next()).contains(NUBO_SOURCE_TREE)) << file.filePath().toStdString();
  EXPECT_GT(count, 60);
}

TEST_F(Package, HasWhatItsPagesLinkTo) {
  static const QRegularExpression Link(QStringLiteral("\\]\\(([^):#]+)[)#]"));
  int count = 0;
  for (QDirIterator page(prefix("share/doc/nubo"), {"*.md"}, QDir::Files); page.hasNext();) {
    const QString text = QString::fromUtf8(contentOf(page.next()));
    for (auto link = Link.globalMatch(text); link.hasNext(); ++count) {
      const QString target = link.next().captured(1);
      EXPECT_TRUE(QFile::exists(page.fileInfo().dir().filePath(target)))
          << page.fileName().toStdString() << ": " << target.toStdString();
    }
  }
  EXPECT_GT(count, 2);
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
    const QByteArray begin = found == content.end() ? QByteArray() : found->second;
    const QString type = database.mimeTypeForFileNameAndData(QStringLiteral("model.") + suffix, begin).name();
    EXPECT_TRUE(types.split(';').contains(type.toLatin1())) << suffix << ": " << type.toStdString();
    EXPECT_TRUE(nubo::io::importableSuffixes().contains(suffix)) << suffix;
  }
}

TEST_F(Package, DescribesEveryOption) {
  run("gzip", {"-d", "-k", prefix("share/man/man1/nubo.1.gz")}, path());
  const QString page = QString::fromUtf8(contentOf(prefix("share/man/man1/nubo.1"))).remove('\\');
  const QStringList options = QString::fromStdString(nubo("--help")).split('\n').filter("  --");
  EXPECT_GT(options.size(), 10);
  for (const QString& line : options)
    EXPECT_TRUE(page.contains(line.trimmed().section(QRegularExpression("[ ,]"), 0, 0))) << line.toStdString();
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
  build(path("headers"), own());
}

TEST_F(Package, TakesTheExampleEncoder) {
  build(prefix("share/doc/nubo/examples/picturearchive"), own());
  EXPECT_THAT(nubo("--version"), HasSubstr("Qt image formats"));
  for (const char* suffix : {"png", "jpg"}) {
    const QString name = QStringLiteral("video.%1.tar").arg(suffix);
    nubo("--turntable 5 grabvideo --width 96 --height 64 --filename " + name);
    const auto pictures = filesOfTar(contentOf(path(name)));
    ASSERT_EQ(pictures.size(), 5U);
    EXPECT_EQ(pictures[4].first, QStringLiteral("00004.") + suffix);
    EXPECT_EQ(QImage::fromData(pictures[4].second, suffix).size(), QSize(96, 64));
  }
}

TEST_F(Package, TakesTheExampleModule) {
  build(prefix("share/doc/nubo/examples/contactsheet"), prefix());
  nubo("--size 160x120 contactsheet --filename sheet.png --width 160");
  const QImage sheet(path("sheet.png"));
  ASSERT_EQ(sheet.size(), QSize(480, 240));
  nubo("--size 160x120 --view bottom grabimage --filename view.png --width 160");
  const auto outline = [](const QImage& image) { return image.convertToFormat(QImage::Format_Alpha8); };
  EXPECT_EQ(outline(sheet.copy(320, 120, 160, 120)), outline(QImage(path("view.png")))) << "the last of six";
}

TEST_F(Package, TakesTheExampleReader) {
  build(prefix("share/doc/nubo/examples/heightgrid"), own());
  QFile grid(path("hill.grd"));
  ASSERT_TRUE(grid.open(QIODevice::WriteOnly));
  // Of six squares the one without a height is left out with its neighbour.
  grid.write("NCOLS 4\nNROWS 3\nCELLSIZE 10\nNODATA_VALUE -1\n1 2 3 4\n1 2 3 4\n1 2 3 -1\n");
  grid.close();
  const std::string told = nubo("--info " + grid.fileName());
  for (const char* line : {"format     Grid of heights (reader heightgrid)", "size       30 x 20 x 3", "faces      10",
                           "message    1 heights are unknown"})
    EXPECT_THAT(told, HasSubstr(line));
}

TEST_F(Package, TakesTheEncoderOfTheGuide) {
  buildGuide("encoder-plugins.md", "ppmencoder");
  nubo("--turntable 3 grabvideo --width 96 --height 64 --filename turn.ppms");
  const QByteArray header = "P6\n96 64\n255\n";
  const QByteArray frames = contentOf(path("turn.ppms"));
  ASSERT_EQ(frames.size(), 3 * (header.size() + 96 * 64 * 3));
  const QByteArray frame = frames.right(frames.size() / 3);
  EXPECT_TRUE(frame.startsWith(header));
  EXPECT_GT(std::set<char>(frame.begin(), frame.end()).size(), 20U) << "a picture, not one colour";

  // The same as if it had been built for another version.
  QFile plugin(own("lib/nubo/bin/plugins/video/libppmencoder.so"));
  const QByteArray built = contentOf(plugin.fileName());
  EXPECT_TRUE(built.contains("libpicture-")) << "what it does not use itself counts, too";
  ASSERT_TRUE(plugin.open(QIODevice::WriteOnly));
  plugin.write(QByteArray(built).replace("libkernel-", "libkernel+"));
  plugin.close();
  EXPECT_THAT(nubo("--version"), HasSubstr("'libppmencoder' failed with error: "));
  EXPECT_TRUE(plugin.remove());
}

TEST_F(Package, TakesTheModuleOfTheGuide) {
  buildGuide("modules.md", "partlist");
  EXPECT_THAT(nubo("--version"), HasSubstr("Part list: Lists parts"));
  EXPECT_THAT(nubo("builtin --dry-run partlist --filename parts.csv --least 9"), HasSubstr("parts of 9 faces or more"));
  nubo("builtin --report parts.json partlist --filename parts.csv --least 9");
  const QByteArray list = contentOf(path("parts.csv"));
  EXPECT_GT(list.count('\n'), 5);
  EXPECT_TRUE(list.contains("field;")) << list.toStdString();
  EXPECT_TRUE(contentOf(path("parts.json")).contains("\"parts\": " + QByteArray::number(list.count('\n'))));
}

TEST_F(Package, ShowsModelsToFileManagers) {
  const QString entry = QString::fromUtf8(contentOf(prefix("share/thumbnailers/nubo.thumbnailer")));
  QString line = entry.section("\nExec=", 1).section('\n', 0, 0);
  QFile model(path("-a 'cube'.obj"));
  ASSERT_TRUE(model.open(QIODevice::WriteOnly));
  model.write("v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nf 1 2 3 4\n");
  model.close();
  const std::map<QString, QString> values = {{"%i", model.fileName()}, {"%o", path("thumbnail")}, {"%s", "256"}};
  for (const auto& [field, value] : values)
    line.replace(field, '\'' + QString(value).replace("'", "'\\''") + '\'');  // as file managers do
  qputenv("PATH", QFile::encodeName(prefix("bin")) + ':' + qgetenv("PATH"));
  qputenv("HOME", QFile::encodeName(path("nobody")));
  EXPECT_EQ(run("/bin/sh", {"-c", line}, path()), "");
  const QImage image = QImage::fromData(contentOf(path("thumbnail")), "PNG");
  EXPECT_EQ(image.size(), QSize(256, 256));
  EXPECT_EQ(qAlpha(image.pixel(128, 128)), 255);
  EXPECT_EQ(qAlpha(image.pixel(0, 0)), 0);
  EXPECT_FALSE(QFile::exists(path("nobody"))) << "nothing is remembered of it";
  const QByteArray types = contentOf(prefix("share/applications/nubo.desktop"));
  for (const QByteArray& type : types.mid(types.indexOf("\nMimeType=") + 10).split('\n').first().split(';'))
    EXPECT_TRUE(entry.contains(type)) << type.toStdString();
}

TEST_F(Package, IsDescribedToSoftwareCentres) {
  // Whose name it has is for its owner to say.
  run("appstreamcli",
      {"validate", "--pedantic", "--no-net", "--override=cid-desktopapp-is-not-rdns=info",
       prefix("share/metainfo/nubo.metainfo.xml")},
      path());
}

}  // namespace
