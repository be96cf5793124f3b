// Runs a test program as the host runs: a QApplication, without a display, and with settings of its own.
#include <gtest/gtest.h>

#include <QApplication>
#include <QStandardPaths>

int main(int argc, char** argv) {
  ::testing::InitGoogleTest(&argc, argv);
  QStandardPaths::setTestModeEnabled(true);
  QCoreApplication::addLibraryPath(QStringLiteral(NUBO_PLUGIN_DIR));
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "headless");
  const QApplication application(argc, argv);
  return RUN_ALL_TESTS();
}
