#include "nubo/window/application.h"

#include <QApplication>
#include <QLibraryInfo>
#include <QTranslator>
#include <cstdio>
#include <cstdlib>

#include "kernel/main/overseer.h"
#include "nubo/cli/interrupt.h"
#include "nubo/window/mainwindow.h"

// Qt's resource macros declare functions, which must lie outside of namespaces.
static void initResources() { Q_INIT_RESOURCE(translations); }

namespace nubo::window {

namespace {

/// Texts are filed under the names of their classes alone, since the tool that gathers them does not know the
/// namespaces.
class Translator : public QTranslator {
 public:
  using QTranslator::QTranslator;
  QString translate(const char* context, const char* text, const char* comment, int n) const override {
    const QByteArray name = QByteArray(context).split(':').last();
    return QTranslator::translate(name.constData(), text, comment, n);
  }
};

void install(const QLocale& locale, const QString& name, const QString& directory) {
  auto* translator = new Translator(qApp);
  if (translator->load(locale, name, QStringLiteral("_"), directory)) QCoreApplication::installTranslator(translator);
}

}  // namespace

void installTranslations(const QLocale& locale) {
  initResources();
  install(locale, QStringLiteral("qtbase"), QLibraryInfo::location(QLibraryInfo::TranslationsPath));
  install(locale, QStringLiteral("nubo"), QStringLiteral(":/translations"));
}

int runWindow(main::CommandProcessor& processor, const app::CommandLine& line, const QStringList& failures) {
  MainWindow window(processor);
  window.show();
  window.showFailures(failures);
  window.open(line);
  const app::Interrupt interrupt;
  QObject::connect(&interrupt, &app::Interrupt::interrupted, &window, &QCoreApplication::quit);
  const int status = QCoreApplication::exec();
  window.hide();
  processor.shutDown();
  // The window has no place any more to show it.
  if (const QString failure = main::writeSettings(); !failure.isEmpty())
    std::fprintf(stderr, "nubo: %s\n", qPrintable(failure));
  if (!window.isLoading()) return status;
  // A large scene that is still being read for nothing is not worth waiting for.
  std::_Exit(status);
}

}  // namespace nubo::window
