// The built module, taken through its life as the host takes it: loaded by name, and only through its entry points.
#include <gmock/gmock.h>

#include <QFile>
#include <QIcon>
#include <QLibrary>
#include <memory>

#include "kernel/events/eventhandler.h"
#include "kernel/main/module.h"
#include "support/host.h"

// There only with a sanitizer that looks for leaks.
extern "C" __attribute__((weak)) void __lsan_disable();
extern "C" __attribute__((weak)) void __lsan_enable();

using namespace nubo;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(ModuleGrab, GoesFromLoadedToUnloaded) {
  const char Icon[] = ":/module_grab/image/grabscene.png";
  const test::Host host;
  QLibrary library(QStringLiteral(NUBO_TEST_BIN_DIR "/modules/libmodule_grab.so"));
  ASSERT_TRUE(library.load()) << library.errorString().toStdString();
  const auto getFactory = reinterpret_cast<main::ModuleFactory* (*)()>(library.resolve("getFactory"));
  const auto recycleFactory = reinterpret_cast<void (*)()>(library.resolve("recycleFactory"));
  ASSERT_TRUE(getFactory && recycleFactory);
  auto* events = events::EventHandler::getInstance();
  main::ModuleFactory* factory = getFactory();
  EXPECT_EQ(getFactory(), factory);
  EXPECT_EQ(factory->getPrimaryCommands().size(), 3u);
  EXPECT_TRUE(QFile::exists(Icon));
  EXPECT_FALSE(events->isRegistered("Grab"));

  std::unique_ptr<main::Module> module(factory->createModule());
  std::unique_ptr<main::Module> second(factory->createModule());
  std::unique_ptr<main::InformationObject> information(module->getInformationObject());
  EXPECT_EQ(second->getInformationObject(), information.get());
  EXPECT_EQ(information->getName(), "Grab");
  EXPECT_EQ(information->getDescription(), "Offers picture and video grabbing of the scene");
  EXPECT_EQ(information->getIcon().availableSizes(), QList<QSize>{QSize(32, 32)});
  EXPECT_TRUE(events->isRegistered("Grab"));
  std::vector<std::pair<int, int>> positions;
  for (const auto& [flag, groups] : module->getGroupPositions())
    for (const auto& [group, position] : groups) positions.emplace_back(flag, position.value);
  EXPECT_THAT(positions, ElementsAre(std::pair(1, 5000), std::pair(2, 10), std::pair(8, 500)));

  ASSERT_TRUE(module->hasStartupActions());
  std::vector<std::string> progress;  // not QStrings, whose text may lie in the library
  module->doStartupActions([&progress](const QString& text) { progress.push_back(text.toStdString()); });
  EXPECT_THAT(progress, ElementsAre("Initializing Video", "Loading video encoder plugins"));

  module.reset();
  EXPECT_FALSE(events->isRegistered("Grab"));
  // The registry went with the first module object; the second one starts a new one, or deletes an empty one.
  second->doStartupActions([](const QString&) {});
  second.reset();
  recycleFactory();
  information.reset();
  EXPECT_FALSE(QFile::exists(Icon));

  // Without a factory one is made and destroyed, whose information object nobody can reach.
  if (__lsan_disable) __lsan_disable();
  recycleFactory();
  if (__lsan_enable) __lsan_enable();
  EXPECT_FALSE(QFile::exists(Icon));
  // Commands register once per load, so a later factory has none.
  EXPECT_THAT(getFactory()->getPrimaryCommands(), IsEmpty());
  std::unique_ptr<main::Module>(getFactory()->createModule()).swap(module);
  information.reset(module->getInformationObject());
  module.reset();
  recycleFactory();
  information.reset();
  EXPECT_TRUE(library.unload());
}
