#include "kernel/main/overseer.h"

#include <gmock/gmock.h>

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QSettings>
#include <QTemporaryDir>
#include <QThread>
#include <future>

#include "support/logcollector.h"

using namespace nubo;

namespace {

constexpr char Key[] = "settings/grabvideofps";

QVariant stored(const QString& fileName) { return QSettings(fileName, QSettings::IniFormat).value(Key); }

}  // namespace

TEST(Overseer, GivesEveryThreadItsOwnSettingsOnOneFile) {
  const QTemporaryDir directory;
  const QString previous = QDir::currentPath();
  ASSERT_TRUE(QDir::setCurrent(directory.path()));
  EXPECT_EQ(main::nuboSettings(), nullptr);
  {
    const main::Overseer overseer(QStringLiteral("some/nubo.ini"));  // made when it is written
    EXPECT_EQ(overseer.getApplicationThread(), QThread::currentThread());
    QSettings* mine = main::nuboSettings();
    EXPECT_EQ(main::nuboSettings(), mine);
    mine->setValue(Key, 30);
    std::async(std::launch::async, [mine] {
      EXPECT_NE(main::nuboSettings(), mine);
      EXPECT_EQ(main::nuboSettings()->value(Key).toInt(), 30);
      main::nuboSettings()->setValue("lastGrabImageDirectory", "/pictures");
    }).wait();
    EXPECT_EQ(mine->value("lastGrabImageDirectory").toString(), "/pictures");
  }
  EXPECT_EQ(stored("some/nubo.ini"), "30");
  {
    const main::Overseer overseer(QStringLiteral("other.ini"));
    EXPECT_FALSE(main::nuboSettings()->contains(Key)) << "another file";
  }
  QDir::setCurrent(previous);
}

TEST(Overseer, TellsOfSettingsThatCannotBeWritten) {
  struct Store : main::SettingsCommand {
    Store() : SettingsCommand(nullptr, nullptr) {}
    void execute() override { main::nuboSettings()->setValue(Key, 60); }
  } command;
  main::Overseer overseer(QStringLiteral("/proc/nubo.ini"));
  test::LogCollector recorder;
  EXPECT_EQ(main::writeSettings(), QString()) << "there is nothing to write";
  for (int i = 0; i < 2; ++i) {
    main::nuboSettings()->setValue(Key, i);
    QCoreApplication::processEvents();
  }
  EXPECT_THAT(recorder.texts(log::Failure), testing::ElementsAre("the settings cannot be written to /proc/nubo.ini"));
  for (int i = 0; i < 2; ++i) {
    recorder.clear();
    overseer.getCommandProcessor()->processCommand(&command, main::CommandProcessor::Wait, true);
    EXPECT_THAT(recorder.texts(log::Failure), testing::ElementsAre("the settings cannot be written to /proc/nubo.ini"));
  }
}

TEST(Overseer, LaysSettingsOverTheOthersForOneRun) {
  struct Store : main::SettingsCommand {
    Store() : SettingsCommand(nullptr, nullptr) {}
    void execute() override {
      const QVariant seen = main::nuboSettings()->value(Key);
      main::nuboSettings()->setValue("seen", seen);
      main::nuboSettings()->remove("old");
    }
  } command;
  const QTemporaryDir directory;
  main::Overseer overseer(directory.filePath("nubo.ini"));
  main::nuboSettings()->setValue(Key, 25);
  main::nuboSettings()->setValue("old", 1);
  const auto overlay = std::make_shared<main::SettingsOverlay>();
  {
    const main::SettingsScope scope(overlay);
    main::nuboSettings()->setValue(Key, 60);
    overlay->seal();
    const main::SettingsScope none(nullptr);
    EXPECT_EQ(main::nuboSettings()->value(Key), 60) << "no overlay changes nothing";
  }
  command.setRunSettings(overlay);
  test::LogCollector recorder;
  overseer.getCommandProcessor()->processCommand(&command, main::CommandProcessor::Wait, true);
  EXPECT_THAT(recorder.texts(log::Failure), testing::IsEmpty());
  EXPECT_EQ(main::nuboSettings()->value(Key), 25);
  EXPECT_EQ(main::nuboSettings()->allKeys(), QStringList({"old", Key}))
      << "nobody sees what a run stores before its end";
  overlay->storeChanges();
  EXPECT_EQ(main::nuboSettings()->allKeys(), QStringList({"seen", Key}));
  EXPECT_EQ(main::nuboSettings()->value("seen"), 60);
  EXPECT_EQ(main::nuboSettings()->value(Key), 25) << "what the run was given is gone with it";
}
