// The registry with real plug-in libraries, in the plug-in directory of this program.
#include <dlfcn.h>
#include <gmock/gmock.h>

#include <QDir>
#include <QFile>

#include "kernel/main/modulemanager.h"
#include "module_grab/video/encoder.h"
#include "module_grab/video/videoencoder.h"
#include "support/host.h"

namespace nubo::grab::video {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

/// Whom the encoder for a file name comes from; empty if there is none.
std::string encoderFor(const char* fileName) {
  const std::unique_ptr<Encoder> encoder(VideoEncoder::getInstance()->getEncoder(QLatin1String(fileName)));
  return encoder ? encoder->objectName().toStdString() : std::string();
}

class Registry : public testing::Test {
 protected:
  static QString file(const char* name) {
    return QCoreApplication::applicationDirPath() + QStringLiteral("/plugins/video/") + QLatin1String(name);
  }
  static bool isLoaded(const char* name) {
    void* library = dlopen(file(name).toLocal8Bit().constData(), RTLD_NOW | RTLD_NOLOAD);
    if (library) dlclose(library);
    return library;
  }
  static void makeFile(const char* name) {
    QFile made(file(name));
    ASSERT_TRUE(made.open(QIODevice::WriteOnly));
    made.write("neither a library nor a video");
  }
  static void loadModule() {
    main::ModuleManager::getInstance()->loadModules(QStringLiteral(NUBO_TEST_BIN_DIR "/modules"),
                                                    [](const QString&) {});
  }
  static std::vector<std::string> records() {
    std::vector<std::string> names;
    auto* information = main::ModuleManager::getInstance()->getModule("Grab")->getInformationObject();
    for (const auto& record : *information->getAdditionalInformations()) names.push_back(record.name.toStdString());
    return names;
  }
  std::vector<std::string> failures() const {
    std::vector<std::string> texts;
    for (const QString& message : m_Log.messages(log::Failure)) texts.push_back(message.toStdString());
    return texts;
  }

  test::Host m_Host;
  test::LogCollector m_Log;
};

TEST_F(Registry, LoadsWhatAPluginIsAndReportsWhatOnlyLooksLikeOne) {
  for (const char* name : {"broken.so", "note.txt", ".hidden.so"}) makeFile(name);
  QFile::link(file("a_first.so"), file("aa_link.so"));
  QFile::copy(file("a_first.so"), file("cut.so"));
  QFile::resize(file("cut.so"), 8192);  // within what is loaded, behind which debugging information may follow
  QDir().mkpath(file("folder"));
  loadModule();
  for (const char* name : {"broken.so", "note.txt", ".hidden.so", "aa_link.so", "cut.so"}) QFile::remove(file(name));
  QDir().rmdir(file("folder"));

  // Name order, case ignored; the first to come keeps an extension, whatever the case.
  EXPECT_THAT(*VideoEncoder::getInstance()->getLoadableFiles(),
              ElementsAre(Pair(QString("AVI"), QString("a_first")), Pair(QString("FIRST"), QString("a_first")),
                          Pair(QString("KEPT"), QString("c_refusing")), Pair(QString("SECOND"), QString("B_second"))));
  EXPECT_THAT(records(), ElementsAre("a_first", "B_second", "c_refusing", "d_bare"));
  EXPECT_THAT(failures(),
              ElementsAre("You could not register the same file extension twice!",
                          testing::StartsWith("Loading of video encoder plugin: 'broken' failed with error: "),
                          "Loading of video encoder plugin: 'cut' failed with error: the file is not complete"));
  for (const char* name : {"clip.avi", "CLIP.Avi", "in.a.folder/clip.AVI"}) EXPECT_EQ(encoderFor(name), "a_first");
  for (const char* name : {"my.clip.avi", "avi", "clip.ogv", ""}) EXPECT_EQ(encoderFor(name), "");

  main::ModuleManager::getInstance()->unloadModules();
}

TEST_F(Registry, LoadsAnewAndUnloadsWhatRegistered) {
  loadModule();
  auto* registry = VideoEncoder::getInstance();
  const auto once = *registry->getLoadableFiles();
  const auto record = main::ModuleManager::getInstance()
                          ->getModule("Grab")
                          ->getInformationObject()
                          ->getAdditionalInformations()
                          ->first();
  registry->refreshPlugins();
  EXPECT_EQ(*registry->getLoadableFiles(), once);
  EXPECT_EQ(records().size(), 4u);

  registry->unloadPlugins();
  EXPECT_THAT(*registry->getLoadableFiles(), IsEmpty());
  EXPECT_THAT(records(), IsEmpty());
  EXPECT_EQ(encoderFor("clip.avi"), "");
  EXPECT_FALSE(isLoaded("a_first.so"));
  EXPECT_FALSE(isLoaded("B_second.so"));
  EXPECT_TRUE(isLoaded("c_refusing.so"));
  EXPECT_TRUE(isLoaded("d_bare.so"));
  // Copies of texts outlive the library that they came from.
  EXPECT_EQ(record.name, "a_first");
  EXPECT_EQ(once.begin()->second, "a_first");
  main::ModuleManager::getInstance()->unloadModules();
}

TEST_F(Registry, WorksWithoutTheModuleAndComesBackAfterDeletion) {
  auto* registry = VideoEncoder::getInstance();
  registry->refreshPlugins();
  EXPECT_EQ(encoderFor("clip.avi"), "a_first");
  delete registry;
  EXPECT_THAT(*VideoEncoder::getInstance()->getLoadableFiles(), IsEmpty());

  std::vector<std::string> functions;
  for (const auto& entry : m_Log.records())
    if (entry.message == "Module 'Grab' not found by the modulemanager!")
      functions.push_back(entry.function.section("::", -1).toStdString());
  EXPECT_THAT(functions, ElementsAre("unloadPlugins", "refreshPlugins", "unloadPlugins"));
}

}  // namespace
}  // namespace nubo::grab::video
