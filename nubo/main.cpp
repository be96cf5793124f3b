// The program nubo.
#include <QApplication>
#include <QLocale>
#include <cstdio>

#include "nubo/cli/platform.h"
#include "nubo/cli/process.h"
#include "nubo/cli/program.h"
#include "nubo/cli/report.h"
#include "nubo/window/application.h"

int main(int argc, char** argv) {
  using namespace nubo;
  app::prepareProcess();
  app::logQtMessages();
  QString error;
  const QStringList words = app::wordsOf(argc, argv, error);
  const app::CommandLine line = app::parseCommandLine(words);
  if (error.isEmpty()) error = line.error;
  const bool hasWindow = line.wantsWindow();
  if (error.isEmpty() && hasWindow) error = app::checkDisplay();
  if (!error.isEmpty()) {
    std::fprintf(stderr, "nubo: %s\n", qPrintable(app::oneLine(error)));
    return app::WrongCall;
  }
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
