// The registry with real plug-in libraries, in the plug-in directory of this program.
#include "module_grab/video/videoencoder.h"

#include <dlfcn.h>
#include <gmock/gmock.h>

#include <QDir>
#include <QFile>

#include "kernel/main/modulemanager.h"
#include "module_grab/video/encoder.h"
#include "support/host.h"

namespace nubo::grab::video {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::StartsWith;

/// Whom the encoder for a file name comes from; empty if there is none.
std::string encoderFor(const char* fileName) {
  const std::unique_ptr<Encoder> encoder(VideoEncoder::getInstance()->getEncoder(QLatin1String(fileName)));
  return encoder ? encoder->objectName().toStdString() : std::string();
}

QString file(const QString& name) { return QCoreApplication::applicationDirPath() + "/plugins/video/" + name; }

bool isLoaded(const char* name) {
  void* library = dlopen(file(name).toLocal8Bit().constData(), RTLD_NOW | RTLD_NOLOAD);
  if (library) dlclose(library);
  return library;
}

/// The registered extensions, each with its description.
std::vector<std::string> formats() {
  std::vector<std::string> formats;
  for (const auto& [extension, description] : *VideoEncoder::getInstance()->getLoadableFiles())
    formats.push_back((extension + ' ' + description).toStdString());
  return formats;
}

class Registry : public testing::Test {
 protected:
  ~Registry() override { m_Modules->unloadModules(); }

  void loadModule() { m_Modules->loadModules(QStringLiteral(NUBO_TEST_BIN_DIR "/modules"), {}); }
  QList<main::ThirdPartyInfos>& records() const {
    return *m_Modules->getModule("Grab")->getInformationObject()->getAdditionalInformations();
  }
  std::vector<std::string> recordNames() const {
    std::vector<std::string> names;
    for (const auto& record : records()) names.push_back(record.name.toStdString());
    return names;
  }

  main::ModuleManager* m_Modules = main::ModuleManager::getInstance();
  test::Host m_Host;
  test::LogCollector m_Log;
};

TEST_F(Registry, LoadsWhatIsAPluginAndReportsWhatOnlyLooksLikeOne) {
  for (const char* name : {"broken.so", "note.txt", ".hidden.so"}) {
    QFile made(file(name));
    ASSERT_TRUE(made.open(QIODevice::WriteOnly));
  }
  QFile::link(file("a_first.so"), file("aa_link.so"));
  QFile::copy(file("a_first.so"), file("cut.so"));
  QFile::resize(file("cut.so"), 8192);  // within what is loaded, behind which debugging information may follow
  QDir().mkpath(file("folder"));
  loadModule();
  for (const char* name : {"broken.so", "note.txt", ".hidden.so", "aa_link.so", "cut.so"}) QFile::remove(file(name));
  QDir().rmdir(file("folder"));

  // Name order, case ignored; the first to come keeps an extension, whatever the case.
  EXPECT_THAT(formats(), ElementsAre("AVI a_first", "FIRST a_first", "KEPT c_refusing", "SECOND B_second"));
  EXPECT_THAT(recordNames(), ElementsAre("a_first", "B_second", "c_refusing", "d_bare"));
  const auto failed = [](const char* name, const char* error) {
    const auto begin = "Loading of video encoder plugin: '" + std::string(name) + "' failed with error: ";
    return AllOf(StartsWith(begin), HasSubstr(error));
  };
  EXPECT_THAT(m_Log.texts(log::Failure),
              ElementsAre("You could not register the same file extension twice!", failed("broken", ""),
                          failed("cut", "the file is not complete"), failed("e_throwing", "refused"),
                          failed("f_mute", "refused"), failed("g_lacking", "nobodyHasIt")));
  EXPECT_THAT(m_Log.texts(log::Note),
              IsSupersetOf(std::vector<std::string>{
                  "'avi' stays with \"a_first\", and \"B_second\" does not get it",
                  "doRegister() of '" + file("c_refusing.so").toStdString() + "' returned false",
                  "'" + file("d_bare.so").toStdString() +
                      "' has no function doRegister() with C linkage, and brings no format"}));
  EXPECT_EQ(VideoEncoder::getInstance()->writtenFrameRate("clip.first", 25), 0);
  EXPECT_EQ(VideoEncoder::getInstance()->writtenFrameRate("clip.lost", 25), 25);
  for (const char* name : {"clip.avi", "CLIP.Avi", "in.a.folder/clip.AVI"}) EXPECT_EQ(encoderFor(name), "a_first");
  for (const char* name : {"my.clip.avi", "avi", "clip.ogv", "clip.lost", ""}) EXPECT_EQ(encoderFor(name), "");
}

TEST_F(Registry, LoadsAnewAndUnloadsWhatRegistered) {
  loadModule();
  auto* registry = VideoEncoder::getInstance();
  const auto formatsOnce = *registry->getLoadableFiles();
  const auto record = records().first();
  registry->refreshPlugins();
  EXPECT_EQ(*registry->getLoadableFiles(), formatsOnce);
  EXPECT_EQ(records().size(), 4);

  registry->unloadPlugins();
  EXPECT_THAT(formats(), IsEmpty());
  EXPECT_THAT(recordNames(), IsEmpty());
  EXPECT_EQ(encoderFor("clip.avi"), "");
  for (const char* name : {"a_first.so", "B_second.so"}) EXPECT_FALSE(isLoaded(name)) << name;
  for (const char* name : {"c_refusing.so", "d_bare.so"}) EXPECT_TRUE(isLoaded(name)) << name;
  // Copies of texts outlive the library that they came from.
  EXPECT_EQ(record.name, "a_first");
  EXPECT_EQ(formatsOnce.begin()->second, "a_first");
}

TEST_F(Registry, WorksWithoutTheModuleAndComesBackAfterDeletion) {
  VideoEncoder::getInstance()->refreshPlugins();
  EXPECT_EQ(encoderFor("clip.avi"), "a_first");
  delete VideoEncoder::getInstance();
  EXPECT_THAT(formats(), IsEmpty());

  std::vector<std::string> functions;
  for (const auto& entry : m_Log.records())
    if (entry.message == "Module 'Grab' not found by the modulemanager!")
      functions.push_back(entry.function.section("::", -1).toStdString());
  EXPECT_THAT(functions, ElementsAre("unloadPlugins", "refreshPlugins", "unloadPlugins"));
}

}  // namespace
}  // namespace nubo::grab::video
