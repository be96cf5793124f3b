#include "kernel/main/modulemanager.h"

#include <gmock/gmock.h>

#include <QRegularExpression>

#include "kernel/main/overseer.h"
#include "support/logcollector.h"
#include "support/waiting.h"

using namespace nubo;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

TEST(ModuleManager, TakesGoodModulesThroughTheirLifeAndSkipsBrokenOnes) {
  main::Overseer overseer(QStringLiteral("unused.ini"));
  auto* manager = main::ModuleManager::getInstance();
  test::LogCollector recorder;
  QStringList progress;
  manager->loadModules(TEST_MODULE_DIR, [&](const QString& text) { progress << text; });

  EXPECT_EQ(manager->names(), QStringList({"afirst", "fsecond"}));
  EXPECT_EQ(progress, manager->names());
  auto* commands = main::CommandManager::getInstance();
  EXPECT_EQ(commands->names(), QStringList({"afirst.command", "fsecond.command"}));
  ASSERT_NE(manager->getModule("fsecond"), nullptr);
  EXPECT_EQ(manager->getModule("estartthrows"), nullptr);
  const auto& entries = manager->getModule("fsecond")->getGUIDescriptions();
  ASSERT_EQ(entries.size(), 1U);
  EXPECT_EQ(entries[0], commands->find("fsecond.command")->getGUIDescriptors()[0].get());
  EXPECT_THAT(recorder.texts(log::Failure),
              ElementsAre(HasSubstr("bgarbage.so"), AllOf(HasSubstr("cnoentry.so"), HasSubstr("getFactory")),
                          AllOf(HasSubstr("dthrows.so"), HasSubstr("creation refused")),
                          AllOf(HasSubstr("gnocommand.so"), HasSubstr("could not be made")),
                          AllOf(HasSubstr("estartthrows.so"), HasSubstr("start refused"))));

  manager->loadModules(TEST_MODULE_DIR, {});  // what is there already stays as it is
  EXPECT_EQ(manager->names(), QStringList({"afirst", "fsecond"}));
  EXPECT_TRUE(test::waitUntil([&] { return !overseer.getCommandProcessor()->isRunning(); }));

  manager->unloadModules();
  EXPECT_TRUE(manager->names().isEmpty());
  EXPECT_TRUE(commands->names().isEmpty());
  QStringList notes;
  for (const QString& message : recorder.messages(log::Note)) notes << message;
  const auto lifeOf = [&](const QString& name) {
    return notes.filter(QRegularExpression('^' + name)).replaceInStrings(name + ' ', "").join(", ").toStdString();
  };
  const std::string end = "command deleted, module deleted, recycled, said farewell, unloaded";
  EXPECT_EQ(lifeOf("afirst"), "command made, started, shut down, served, " + end);
  EXPECT_EQ(lifeOf("cnoentry"), "unloaded");
  EXPECT_EQ(lifeOf("dthrows"), "recycled, unloaded");
  EXPECT_EQ(lifeOf("estartthrows"), "command made, worked, " + end);
  EXPECT_EQ(lifeOf("fsecond"), lifeOf("afirst"));
  EXPECT_EQ(lifeOf("gnocommand"), "command made, worked, " + end);
  EXPECT_LT(notes.indexOf("fsecond command made"), notes.indexOf("afirst started"));
  EXPECT_LT(notes.indexOf("fsecond unloaded"), notes.indexOf("afirst shut down"));
}
