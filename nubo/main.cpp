// The program nubo.
#include <QApplication>
#include <QLocale>
#include <QScopeGuard>
#include <cstdio>

#include "nubo/cli/filecheck.h"
#include "nubo/cli/platform.h"
#include "nubo/cli/process.h"
#include "nubo/cli/program.h"
#include "nubo/cli/report.h"
#include "nubo/window/application.h"

namespace {

using namespace nubo;

/// What is wrong with the call before there is anything to run.
int refuse(const QStringList& words, const app::CommandLine& line, const QString& error) {
  const QString text = app::oneLine(error);
  std::fprintf(stderr, "nubo: %s\n", qPrintable(text));
  app::RunRecord record(words);
  record.addMessage("error", text);
  if (!line.reportFile.isEmpty() && app::whyNotWritable(line.reportFile).isEmpty())
    static_cast<void>(record.write(line.reportFile, app::WrongCall));
  return app::WrongCall;
}

}  // namespace

int main(int argc, char** argv) {
  app::prepareProcess();
  app::logQtMessages();
  // What Qt says while it is unloaded comes when the log is gone.
  const auto unlog = qScopeGuard([] { qInstallMessageHandler(nullptr); });
  QString error;
  const QStringList words = app::wordsOf(argc, argv, error);
  const app::CommandLine line = app::parseCommandLine(words);
  if (error.isEmpty()) error = line.error;
  const bool hasWindow = line.wantsWindow();
  if (error.isEmpty() && hasWindow) error = app::checkDisplay();
  if (!error.isEmpty()) return refuse(words, line, error);
  QCoreApplication::setApplicationName("nubo");
  QCoreApplication::setApplicationVersion(NUBO_VERSION);
  QCoreApplication::addLibraryPath(app::pluginFolder());
  const bool isChosen = app::isPlatformChosen();
  QString noOpenGL = hasWindow ? QString() : app::choosePlatform();
  QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling, hasWindow);
  QCoreApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);
  int noArguments = 1;
  const QApplication application(noArguments, argv);
  if (hasWindow)
    window::installTranslations();
  else
    QLocale::setDefault(QLocale::English);  // as are all texts on the terminal
  if (isChosen && !hasWindow) noOpenGL = app::whyPlatformCannotDraw();
  return app::Program(words, line, noOpenGL).run(window::runWindow);
}
