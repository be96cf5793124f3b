// Runs a test program as the host runs: a QApplication, without a display, and with settings of its own.
#include <gtest/gtest.h>
#include <unistd.h>

#include <QApplication>
#include <QStandardPaths>

namespace {

/// Ends the program by a signal when a test waits for what never comes, so that no wait lasts for good.
class TimeLimit : public ::testing::EmptyTestEventListener {
  void OnTestStart(const ::testing::TestInfo&) override {
    const int seconds = qEnvironmentVariableIntValue("NUBO_TEST_SECONDS");
    alarm(seconds > 0 ? unsigned(seconds) : NUBO_TEST_SECONDS);
  }
  void OnTestEnd(const ::testing::TestInfo&) override { alarm(0); }
};

}  // namespace

int main(int argc, char** argv) {
  ::testing::InitGoogleTest(&argc, argv);
  ::testing::UnitTest::GetInstance()->listeners().Append(new TimeLimit);
  QStandardPaths::setTestModeEnabled(true);
  QCoreApplication::addLibraryPath(QStringLiteral(NUBO_PLUGIN_DIR));
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "headless");
  const QApplication application(argc, argv);
  return RUN_ALL_TESTS();
}
