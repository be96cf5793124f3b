#include "kernel/log/logger.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QTemporaryDir>
#include <atomic>
#include <future>
#include <thread>

#include "support/logcollector.h"

using namespace nubo;

namespace {

void logNumber(int level, int number) {
  log::Logger::getInstance()->log(level, "kernel/test", 12, "nubo::test", nullptr, "number %d", number);
}

}  // namespace

TEST(Logger, FormatsRecords) {
  const test::LogCollector recorder;
  auto* logger = log::Logger::getInstance();
  logger->log(log::Debug, "kernel/test", 12, "nubo::test::function", nullptr, "%s of %d%%",
              QString::fromUtf8("größe").toLocal8Bit().constData(), 100);
  logger->log(log::Debug, "kernel/test", 13, "f", nullptr, QString("100%s %d"));
  logger->log(log::Debug, "kernel/test", 14, "f", nullptr, "%s", std::string(100000, 'x').c_str());
  const auto records = recorder.records();
  ASSERT_EQ(records.size(), 3U);
  EXPECT_EQ(records[0].message, QString::fromLocal8Bit(QString::fromUtf8("größe").toLocal8Bit()) + " of 100%");
  EXPECT_EQ(records[0].function, "nubo::test::function");
  EXPECT_EQ(records[0].line, 12);
  EXPECT_EQ(records[1].message, "100%s %d");
  EXPECT_EQ(records[2].message.size(), 100000);
}

TEST(Logger, WritesWhatEachPlaceAsksFor) {
  const QTemporaryDir directory;
  const QString fileName = directory.filePath("nubo.log");
  auto* logger = log::Logger::getInstance();
  ASSERT_TRUE(logger->setFile(fileName));
  EXPECT_FALSE(logger->setFile(directory.filePath("absent/nubo.log")));
  QStringList console;
  const int id = log::addConsoleObserver([&](const QString& line) { console << line; });

  testing::internal::CaptureStderr();
  logNumber(log::Failure, 1);
  logNumber(log::Note, 2);
  logger->setTerminalLevel(log::Note);
  logNumber(log::Note, 3);
  logger->setTerminalLevel(0);
  logNumber(log::Severe, 4);
  log::qConsole("%s failure", "Parameter");
  const std::string terminal = testing::internal::GetCapturedStderr();
  logger->setTerminalLevel(log::Milestone);
  log::removeConsoleObserver(id);
  ASSERT_TRUE(logger->setFile(QString()));
  logNumber(log::Debug, 5);

  EXPECT_NE(terminal.find(" 2000 kernel/test:12 nubo::test: number 1\n"), std::string::npos) << terminal;
  EXPECT_EQ(terminal.find("number 2"), std::string::npos);
  EXPECT_NE(terminal.find("number 3"), std::string::npos);
  EXPECT_EQ(terminal.find("number 4"), std::string::npos);
  EXPECT_NE(terminal.find("Parameter failure\n"), std::string::npos);
  EXPECT_EQ(console, QStringList("Parameter failure"));
  QFile file(fileName);
  ASSERT_TRUE(file.open(QIODevice::ReadOnly));
  EXPECT_EQ(file.readAll().count('\n'), 4) << "the refused file must not end the old one";
}

TEST(Logger, RemovesObserversOnlyWhenTheyRest) {
  auto* logger = log::Logger::getInstance();
  std::promise<void> entered;
  std::promise<void> leave;
  std::atomic<bool> left{false};
  const int slow = logger->addObserver([&](const log::Record&) {
    entered.set_value();
    leave.get_future().wait();
    left = true;
  });
  std::thread caller([] { logNumber(log::Debug, 1); });
  entered.get_future().wait();
  std::thread releaser([&] { leave.set_value(); });
  logger->removeObserver(slow);
  EXPECT_TRUE(left);
  caller.join();
  releaser.join();

  int calls = 0;
  int id = 0;
  id = logger->addObserver([&](const log::Record&) {
    ++calls;
    logger->removeObserver(id);
    throw std::runtime_error("nobody suffers");
  });
  logNumber(log::Debug, 2);
  logNumber(log::Debug, 3);
  EXPECT_EQ(calls, 1);
}
