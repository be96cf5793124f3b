// The program nubo.
#include <langinfo.h>

#include <QApplication>
#include <QFile>
#include <QFileInfo>
#include <QSettings>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#ifdef __GLIBC__
#include <malloc.h>
#endif

#include "kernel/main/commandmanager.h"
#include "kernel/main/overseer.h"
#include "nubo/commandline.h"
#include "nubo/commandrun.h"
#include "nubo/information.h"
#include "nubo/platform.h"
#include "nubo/report.h"
#include "nubo/session.h"
#include "nubo/terminalprogress.h"
#include "nubo/window/application.h"

namespace {

using namespace nubo;
using namespace nubo::app;

QStringList wordsOf(int argc, char** argv) {
  QStringList words;
  for (int i = 1; i < argc; ++i) words << QString::fromLocal8Bit(argv[i]);
  return words;
}

/// Services often run without a locale; file names are UTF-8 all the same.
void useUtf8() {
  std::setlocale(LC_ALL, "");
  if (QByteArray(nl_langinfo(CODESET)) == "ANSI_X3.4-1968") qputenv("LC_ALL", "C.UTF-8");
  std::setlocale(LC_ALL, "");
}

ExitStatus refuse(Report& report, const QString& error, const Session& session) {
  report.error(error);
  // A large scene that is still being read for nothing is not worth waiting for.
  if (session.isReadingScene()) std::_Exit(WrongCall);
  return WrongCall;
}

/// The answer to a call that only asks; null for one that has a command to run.
QString answer(const CommandLine& line, main::Command* command) {
  if (line.help) return helpText();
  if (line.version) return versionText();
  if (line.listCommands) return commandListText();
  if (line.commandHelp && command) return commandHelpText(*command);
  return QString();
}

/// Brings the scene in front of the command; the empty text, or why the command cannot run.
QString prepare(Session& session, const CommandLine& line, const main::Command& command, const QString& noOpenGL,
                Report& report) {
  session.waitForQueuedWork();
  // Storing settings needs no scene.
  if (dynamic_cast<const main::SettingsCommand*>(&command) && line.scenes.isEmpty()) return QString();
  if (const QString error = session.showScene(line, command.isAbortable()); !error.isEmpty()) return error;
  const QStringList failures = report.takeFailures();
  if (command.isEnabled()) {
    for (const QString& failure : failures) report.note(failure);
    return QString();
  }
  const QString reason = noOpenGL.isEmpty() ? failures.join("; ") : noOpenGL;
  return callText(line.command, line.arguments) + ": " +
         (reason.isEmpty() ? QStringLiteral("the command is not available here") : reason);
}

ExitStatus runCommand(Session& session, const CommandLine& line, const QString& noOpenGL, Report& report,
                      TerminalProgress& progress) {
  main::Command* registered = main::CommandManager::getInstance()->find(line.command);
  const QString call = callText(line.command, line.arguments);
  if (const QString error = bindArguments(*registered, line.arguments); !error.isEmpty())
    return refuse(report, call + ": " + error, session);
  progress.setText("Reading the scene");
  if (const QString error = prepare(session, line, *registered, noOpenGL, report); !error.isEmpty()) {
    report.error(error);
    return Failed;
  }
  const std::unique_ptr<main::Command> clone(registered->runsOnClone() ? registered->clone() : nullptr);
  CommandRun run(clone ? *clone : *registered, call, report, progress);
  return run.run(session.processor(), line.duration);
}

/// Empty if the settings could be read, or there are none yet.
QString settingsProblem() {
  const QSettings* settings = main::nuboSettings();
  if (settings->status() == QSettings::NoError) return QString();
  return QStringLiteral("the settings in %1 cannot be read, defaults take their place").arg(settings->fileName());
}

ExitStatus runSession(CommandLine& line, const QString& noOpenGL) {
  const auto shown = std::make_shared<TerminalProgress>();
  util::YProgressDialog::setPresenter(shown);
  TerminalProgress& progress = *shown;
  Report report(line.verbosity, progress);
  const bool asks = line.help || line.version || line.listCommands || line.commandHelp;
  Session session(line.settingsFile, asks || wantsWindow(line) ? QStringList() : line.scenes, report);
  const main::CommandManager* commands = main::CommandManager::getInstance();
  settleCommand(line, commands->names(),
                [commands](const QString& name) { return optionNames(*commands->find(name)); });
  if (!line.error.isEmpty()) return refuse(report, line.error, session);
  report.setVerbosity(line.verbosity);
  if (const QString problem = settingsProblem(); !problem.isEmpty()) report.note(problem);

  const QString text = answer(line, main::CommandManager::getInstance()->find(line.command));
  if (!text.isNull()) {
    std::fputs(text.toLocal8Bit().constData(), stdout);
    if (noOpenGL.isEmpty())
      for (const QString& failure : report.takeFailures()) report.note(failure);
    return Done;
  }
  if (line.command.isEmpty()) {
    session.waitForQueuedWork();  // modules want to be ready when the first panel becomes active
    return ExitStatus(window::runWindow(session.processor(), line, report.takeFailures()));
  }
  return runCommand(session, line, noOpenGL, report, progress);
}

/// Models and pictures are large blocks that come and go. Left to itself, the C library soon keeps freed blocks of up
/// to 32 MB for later, which the next large picture then finds missing; a tile still comes from what it keeps. And what
/// one thread frees is there for the next, so that loading, drawing and writing share their memory.
void tuneAllocator() {
#ifdef __GLIBC__
  constexpr int LargeBlock = 4 << 20;
  mallopt(M_MMAP_THRESHOLD, LargeBlock);
  mallopt(M_ARENA_MAX, 2);
#endif
}

}  // namespace

int main(int argc, char** argv) {
  tuneAllocator();
  useUtf8();
  logQtMessages();
  CommandLine line = parseCommandLine(wordsOf(argc, argv));
  if (!line.error.isEmpty()) {
    std::fprintf(stderr, "nubo: %s\n", qPrintable(line.error));
    return WrongCall;
  }
  QCoreApplication::setApplicationName("nubo");
  QCoreApplication::setApplicationVersion(NUBO_VERSION);
  QCoreApplication::addLibraryPath(QFileInfo(QFile::symLinkTarget("/proc/self/exe")).path() + "/plugins");
  const bool hasWindow = wantsWindow(line);
  if (const QString error = hasWindow ? checkDisplay() : QString(); !error.isEmpty()) {
    std::fprintf(stderr, "nubo: %s\n", qPrintable(error));
    return WrongCall;
  }
  const QString noOpenGL = hasWindow ? QString() : choosePlatform();
  QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling, hasWindow);
  QCoreApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);
  int noArguments = 1;
  const QApplication application(noArguments, argv);
  if (hasWindow) window::installTranslations();
  return runSession(line, noOpenGL);
}
