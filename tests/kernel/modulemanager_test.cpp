#include "kernel/main/modulemanager.h"

#include <gmock/gmock.h>

#include "kernel/main/overseer.h"
#include "support/logcollector.h"

using namespace nubo;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

TEST(ModuleManager, TakesGoodModulesThroughTheirLifeAndSkipsBrokenOnes) {
  main::Overseer overseer(QStringLiteral("unused.ini"));
  auto* manager = main::ModuleManager::getInstance();
  const test::LogCollector recorder;
  QStringList progress;
  manager->loadModules(TEST_MODULE_DIR, [&](const QString& text) { progress << text; });

  EXPECT_EQ(manager->names(), QStringList({"afirst", "fsecond"}));
  EXPECT_EQ(progress, manager->names());
  auto* commands = main::CommandManager::getInstance();
  EXPECT_EQ(commands->names(), QStringList({"afirst.command", "fsecond.command"}));
  ASSERT_NE(manager->getModule("fsecond"), nullptr);
  EXPECT_EQ(manager->getModule("dthrows"), nullptr);
  const auto& entries = manager->getModule("fsecond")->getGUIDescriptions();
  ASSERT_EQ(entries.size(), 1U);
  EXPECT_EQ(entries[0], commands->find("fsecond.command")->getGUIDescriptors()[0].get());

  EXPECT_THAT(recorder.texts(log::Failure),
              ElementsAre(HasSubstr("bgarbage.so"), AllOf(HasSubstr("cnoentry.so"), HasSubstr("getFactory")),
                          AllOf(HasSubstr("dthrows.so"), HasSubstr("creation refused")),
                          AllOf(HasSubstr("estartthrows.so"), HasSubstr("start refused"))));

  manager->loadModules(TEST_MODULE_DIR, {});  // what is there already stays as it is
  EXPECT_EQ(manager->names(), QStringList({"afirst", "fsecond"}));

  manager->unloadModules();
  EXPECT_TRUE(manager->names().isEmpty());
  EXPECT_TRUE(commands->names().isEmpty());
  const auto lifeOf = [&](const QString& name) {
    QStringList life;
    for (const QString& message : recorder.messages(log::Note)) {
      if (message.startsWith(name)) life << message.mid(name.length() + 1);
    }
    return life;
  };
  const QStringList whole{"command made",   "started",  "shut down", "command deleted",
                          "module deleted", "recycled", "unloaded"};
  EXPECT_EQ(lifeOf("afirst"), whole);
  EXPECT_EQ(lifeOf("fsecond"), whole);
  EXPECT_EQ(lifeOf("cnoentry").mid(0, 1), QStringList({"unloaded"}));
  EXPECT_EQ(lifeOf("dthrows").mid(0, 2), QStringList({"recycled", "unloaded"}));
  EXPECT_EQ(lifeOf("estartthrows").mid(0, 5),
            QStringList({"command made", "command deleted", "module deleted", "recycled", "unloaded"}));

  QStringList notes;
  for (const QString& message : recorder.messages(log::Note)) notes << message;
  EXPECT_LT(notes.indexOf("fsecond command made"), notes.indexOf("afirst started"));
  EXPECT_LT(notes.indexOf("fsecond unloaded"), notes.indexOf("afirst shut down"));
}
