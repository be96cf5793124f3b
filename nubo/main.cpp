// The program nubo.
#include <fcntl.h>
#include <langinfo.h>
#include <unistd.h>

#include <QApplication>
#include <QSettings>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#ifdef __GLIBC__
#include <malloc.h>
#endif

#include "kernel/main/commandmanager.h"
#include "kernel/main/overseer.h"
#include "nubo/cli/commandarguments.h"
#include "nubo/cli/commandline.h"
#include "nubo/cli/commandrun.h"
#include "nubo/cli/information.h"
#include "nubo/cli/platform.h"
#include "nubo/cli/report.h"
#include "nubo/cli/session.h"
#include "nubo/cli/terminalprogress.h"
#include "nubo/window/application.h"

namespace {

using namespace nubo;
using namespace nubo::app;

/// Sets `error` where a word is no text: as a file's name it would become another's.
QStringList wordsOf(int argc, char** argv, QString& error) {
  QStringList words;
  for (int i = 1; i < argc; ++i) {
    words << QString::fromLocal8Bit(argv[i]);
    if (words.back().toLocal8Bit() != argv[i])
      error = QStringLiteral("%1: this is not text in the encoding %2; rename the file")
                  .arg(words.back(), nl_langinfo(CODESET));
  }
  return words;
}

/// Services often run without a locale, or the system lacks the user's; file names are UTF-8 all the same. The language
/// stays the user's.
void useUtf8() {
  std::setlocale(LC_ALL, "");
  if (QByteArray(nl_langinfo(CODESET)) != "ANSI_X3.4-1968") return;
  if (qEnvironmentVariableIsSet("LC_ALL")) qputenv("LANG", qgetenv("LC_ALL"));
  qunsetenv("LC_ALL");
  qputenv("LC_CTYPE", "C.UTF-8");
  std::setlocale(LC_CTYPE, "");
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
    // It may have no need of OpenGL.
    for (const QString& note : noOpenGL.isEmpty() ? failures : QStringList{noOpenGL}) report.note(note);
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
  if (const QString error = whyFilesMissing(line); !error.isEmpty()) return refuse(report, error, session);
  if (line.duration && !registered->isAbortable())
    return refuse(report, QStringLiteral("--duration: %1 cannot be ended early").arg(line.command), session);
  if (const QString error = bindArguments(*registered, line.arguments); !error.isEmpty())
    return refuse(report, call + ": " + error, session);
  progress.setText("Reading the scene");
  if (const QString error = prepare(session, line, *registered, noOpenGL, report); !error.isEmpty()) {
    report.error(error);
    // Only the scene could tell that the value of an option makes no sense.
    return error.startsWith("--") ? WrongCall : Failed;
  }
  // Now that the command knows its panel, more can be wrong.
  if (const QString error = whyValuesRefused(*registered, line.arguments); !error.isEmpty())
    return refuse(report, call + ": " + error, session);
  const std::unique_ptr<main::Command> clone(registered->runsOnClone() ? registered->clone() : nullptr);
  CommandRun run(clone ? *clone : *registered, call, report, progress);
  return run.run(session.processor(), line.duration);
}

/// Empty if the settings could be read, or there are none yet.
QString settingsProblem() {
  const QSettings* settings = main::nuboSettings();
  static_cast<void>(settings->allKeys());  // which reads the whole file
  if (settings->status() == QSettings::NoError) return QString();
  return QStringLiteral("the settings in %1 cannot be read").arg(settings->fileName());
}

/// Completes what was read of the call by the commands there are; else says what is wrong with it.
ExitStatus settle(CommandLine& line, const Session& session, Report& report) {
  const main::CommandManager* commands = main::CommandManager::getInstance();
  settleCommand(line, commands->names(),
                [commands](const QString& name) { return optionNames(*commands->find(name)); });
  if (commands->names().isEmpty() && (line.listCommands || !line.error.isEmpty())) {
    QStringList reasons = report.takeFailures();
    if (!line.error.isEmpty()) reasons.prepend(line.error);
    report.error(reasons.join("; "));
    return Failed;
  }
  if (!line.error.isEmpty()) return refuse(report, line.error, session);
  const QString problem = settingsProblem();
  if (!problem.isEmpty() && !line.settingsFile.isEmpty()) return refuse(report, problem, session);
  report.setVerbosity(line.verbosity);
  if (!problem.isEmpty()) report.note(problem + ", defaults take their place");
  return Done;
}

ExitStatus runSession(CommandLine& line, const QString& noOpenGL) {
  const auto shown = std::make_shared<TerminalProgress>();
  util::YProgressDialog::setPresenter(shown);
  TerminalProgress& progress = *shown;
  Report report(line.verbosity, progress);
  const bool asks = line.help || line.version || line.listCommands || line.commandHelp;
  Session session(line.settingsFile, asks || wantsWindow(line) ? QStringList() : line.scenes, report);
  if (const ExitStatus status = settle(line, session, report); status != Done) return status;
  const QString text = answer(line, main::CommandManager::getInstance()->find(line.command));
  if (!text.isNull()) {
    if (!report.print(text)) return Failed;
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
  mallopt(M_ARENA_MAX, 1);
#endif
}

/// Where a standard stream is closed, a file opened later would take its place, and messages would end up in that.
void occupyClosedStreams() {
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
    if (fcntl(stream, F_GETFD) < 0) open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);
}

}  // namespace

int main(int argc, char** argv) {
  occupyClosedStreams();
  tuneAllocator();
  useUtf8();
  logQtMessages();
  QString error;
  CommandLine line = parseCommandLine(wordsOf(argc, argv, error));
  if (error.isEmpty()) error = line.error;
  const bool hasWindow = wantsWindow(line);
  if (error.isEmpty() && hasWindow) error = checkDisplay();
  if (!error.isEmpty()) {
    std::fprintf(stderr, "nubo: %s\n", qPrintable(oneLine(error)));
    return WrongCall;
  }
  QCoreApplication::setApplicationName("nubo");
  QCoreApplication::setApplicationVersion(NUBO_VERSION);
  QCoreApplication::addLibraryPath(pluginFolder());
  const QString noOpenGL = hasWindow ? QString() : choosePlatform();
  QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling, hasWindow);
  QCoreApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);
  int noArguments = 1;
  const QApplication application(noArguments, argv);
  if (hasWindow) window::installTranslations();
  return runSession(line, noOpenGL);
}
