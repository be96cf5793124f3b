// The built module, taken through its life as the host takes it: loaded by name, and only through its entry points.
#include <gtest/gtest.h>

#include <QFile>
#include <QIcon>
#include <QLibrary>
#include <memory>

#include "kernel/events/eventhandler.h"
#include "kernel/main/commandmanager.h"
#include "kernel/main/modulemanager.h"
#include "support/host.h"

namespace nubo {
namespace {

using GetFactory = main::ModuleFactory* (*)();
using RecycleFactory = void (*)();

const char Icon[] = ":/module_grab/image/grabscene.png";

class ModuleLifeCycle : public ::testing::Test {
 protected:
  void load() {
    m_Library.setFileName(QStringLiteral(NUBO_TEST_BIN_DIR "/modules/libmodule_grab.so"));
    ASSERT_TRUE(m_Library.load()) << m_Library.errorString().toStdString();
    getFactory = reinterpret_cast<GetFactory>(m_Library.resolve("getFactory"));
    recycleFactory = reinterpret_cast<RecycleFactory>(m_Library.resolve("recycleFactory"));
    ASSERT_TRUE(getFactory && recycleFactory);
  }

  test::Host m_Host;
  test::LogCollector m_Log;
  QLibrary m_Library;
  GetFactory getFactory = nullptr;
  RecycleFactory recycleFactory = nullptr;
};

TEST_F(ModuleLifeCycle, GoesFromLoadedToUnloaded) {
  auto* events = events::EventHandler::getInstance();
  load();
  main::ModuleFactory* factory = getFactory();
  EXPECT_EQ(getFactory(), factory);
  EXPECT_EQ(factory->getPrimaryCommands().size(), 3u);
  EXPECT_TRUE(QFile::exists(Icon));
  EXPECT_FALSE(events->isRegistered("Grab"));

  std::unique_ptr<main::Module> module(factory->createModule());
  std::unique_ptr<main::Module> second(factory->createModule());
  main::InformationObject* information = module->getInformationObject();
  EXPECT_EQ(second->getInformationObject(), information);
  EXPECT_EQ(information->getName(), "Grab");
  EXPECT_EQ(information->getDescription(), "Offers picture and video grabbing of the scene");
  EXPECT_EQ(information->getIcon().availableSizes(), QList<QSize>{QSize(32, 32)});
  EXPECT_TRUE(events->isRegistered("Grab"));
  const auto& positions = module->getGroupPositions();
  ASSERT_EQ(positions.size(), 3u);
  EXPECT_EQ(positions.at(1).at("Grab").value, 5000);
  EXPECT_EQ(positions.at(2).at("Grab").value, 10);
  EXPECT_EQ(positions.at(8).at("Grab").value, 500);

  ASSERT_TRUE(module->hasStartupActions());
  std::vector<std::string> progress;  // not QStrings, whose text may lie in the library
  module->doStartupActions([&progress](const QString& text) { progress.push_back(text.toStdString()); });
  EXPECT_EQ(progress, (std::vector<std::string>{"Initializing Video", "Loading video encoder plugins"}));

  module.reset();
  EXPECT_FALSE(events->isRegistered("Grab"));
  // The registry went with the first module object; the second one starts a new one, or deletes an empty one.
  second->doStartupActions([](const QString&) {});
  second.reset();

  recycleFactory();
  EXPECT_FALSE(QFile::exists(Icon));
  delete information;
  EXPECT_TRUE(m_Library.unload());
}

TEST_F(ModuleLifeCycle, RecyclingWithoutAFactoryMakesAndDestroysOne) {
  load();
  main::InformationObject* first = std::unique_ptr<main::Module>(getFactory()->createModule())->getInformationObject();
  recycleFactory();
  delete first;
  // Commands register once per load, so a later factory has none.
  main::ModuleFactory* later = getFactory();
  EXPECT_TRUE(later->getPrimaryCommands().empty());
  main::InformationObject* second = std::unique_ptr<main::Module>(later->createModule())->getInformationObject();
  recycleFactory();
  delete second;
  EXPECT_TRUE(m_Library.unload());
}

TEST_F(ModuleLifeCycle, ModuleManagerStartsAndEndsItTwice) {
  for (int run = 0; run < 2; ++run) {
    m_Log.clear();
    auto* modules = main::ModuleManager::getInstance();
    modules->loadModules(QStringLiteral(NUBO_TEST_BIN_DIR "/modules"), [](const QString&) {});
    ASSERT_NE(modules->getModule("Grab"), nullptr);
    EXPECT_EQ(main::CommandManager::getInstance()->names(),
              (QStringList{"grabimage", "grabvideo", "setvideosettings"}));
    EXPECT_TRUE(m_Host.settle());
    modules->unloadModules();
    EXPECT_EQ(modules->getModule("Grab"), nullptr);
    EXPECT_TRUE(main::CommandManager::getInstance()->names().isEmpty());
    EXPECT_TRUE(m_Log.messages(log::Failure).empty()) << m_Log.messages(log::Failure).front().toStdString();
  }
}

}  // namespace
}  // namespace nubo
