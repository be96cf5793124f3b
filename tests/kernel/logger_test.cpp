#include <gmock/gmock.h>

#include <QFile>
#include <QTemporaryDir>

#include "support/logcollector.h"

using namespace nubo;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

namespace {

void logNumber(int level, int number) {
  log::Logger::getInstance()->log(level, "kernel/test", 12, "nubo::test", nullptr, "number %d", number);
}

}  // namespace

TEST(Logger, FormatsRecords) {
  const test::LogCollector recorder;
  const QString word = QString::fromLocal8Bit(QString::fromUtf8("größe").toLocal8Bit());
  NUBO_LOG(log::Debug, "nubo::test", "%s of %d%%", word.toLocal8Bit().constData(), 100);
  NUBO_LOG(log::Note, "nubo::test", QString("100%s %d"));
  NUBO_LOG(log::Note, "nubo::test", "%s", std::string(100000, 'x').c_str());
  EXPECT_THAT(recorder.texts(), ElementsAre(word.toStdString() + " of 100%", "100%s %d", std::string(100000, 'x')));
  const log::Record record = recorder.records().front();
  EXPECT_EQ(record.level, log::Debug);
  EXPECT_EQ(record.file, "tests/kernel/logger_test");
  EXPECT_EQ(record.line, __LINE__ - 7);
  EXPECT_EQ(record.function, "nubo::test");
}

TEST(Logger, WritesWhatEachPlaceAsksFor) {
  const QTemporaryDir directory;
  const QString fileName = directory.filePath("nubo.log");
  auto* logger = log::Logger::getInstance();
  ASSERT_TRUE(logger->setFile(fileName));
  EXPECT_FALSE(logger->setFile(directory.filePath("absent/nubo.log")));
  const test::LogCollector recorder;

  testing::internal::CaptureStderr();
  logNumber(log::Milestone, 1);
  logNumber(log::Note, 2);
  logger->setTerminalLevel(log::Note);
  logNumber(log::Note, 3);
  logger->setTerminalLevel(0);
  logNumber(log::Severe, 4);
  log::qConsole("%s failure", "Parameter");
  const std::string terminal = testing::internal::GetCapturedStderr();
  logger->setTerminalLevel(log::Milestone);
  ASSERT_TRUE(logger->setFile(QString()));
  logNumber(log::Debug, 5);

  EXPECT_THAT(terminal,
              AllOf(HasSubstr(" 3000 kernel/test:12 nubo::test: number 1\n"), HasSubstr("number 3"),
                    HasSubstr("Parameter failure\n"), Not(HasSubstr("number 2")), Not(HasSubstr("number 4"))));
  EXPECT_EQ(recorder.consoleLines(), std::vector<QString>{"Parameter failure"});
  QFile file(fileName);
  ASSERT_TRUE(file.open(QIODevice::ReadOnly));
  EXPECT_EQ(file.readAll().count('\n'), 4) << "the refused file must not end the old one";
}
