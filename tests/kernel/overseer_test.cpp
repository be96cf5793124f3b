#include "kernel/main/overseer.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QSettings>
#include <QTemporaryDir>
#include <QThread>
#include <thread>

using namespace nubo;

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
    mine->setValue("settings/grabvideofps", 30);
    std::thread([mine] {
      EXPECT_NE(main::nuboSettings(), mine);
      EXPECT_EQ(main::nuboSettings()->value("settings/grabvideofps", "25").toInt(), 30);
      main::nuboSettings()->setValue("lastGrabImageDirectory", "/pictures");
    }).join();
    EXPECT_EQ(mine->value("lastGrabImageDirectory").toString(), "/pictures");
  }
  const QSettings stored("some/nubo.ini", QSettings::IniFormat);
  EXPECT_EQ(stored.value("settings/grabvideofps").toInt(), 30);
  {
    const main::Overseer overseer(QStringLiteral("other.ini"));
    EXPECT_FALSE(main::nuboSettings()->contains("settings/grabvideofps")) << "another file";
  }
  QDir::setCurrent(previous);
}

TEST(Overseer, LivesWithASettingsFileFullOfNonsense) {
  const QTemporaryDir directory;
  const QString fileName = directory.filePath("nubo.ini");
  QFile file(fileName);
  ASSERT_TRUE(file.open(QIODevice::WriteOnly));
  file.write(QByteArray("[[[\n=\n%%%\\x\nsettings/fps=@Variant(\\0\\0\n\xff\xfe\x01"));
  file.write(QByteArray(1000, '\0'));
  file.close();
  {
    const main::Overseer overseer(fileName);
    EXPECT_EQ(main::nuboSettings()->value("settings/grabvideofps", "25").toInt(), 25);
    main::nuboSettings()->setValue("settings/grabvideofps", 60);
  }
  const QSettings stored(fileName, QSettings::IniFormat);
  EXPECT_EQ(stored.value("settings/grabvideofps").toInt(), 60);
}
