#include "nubo/cli/program.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QSettings>
#include <cstdlib>
#include <utility>

#include "kernel/main/commandmanager.h"
#include "kernel/main/overseer.h"
#include "module_trajectory/trajectory.h"
#include "nubo/cli/commandarguments.h"
#include "nubo/cli/completion.h"
#include "nubo/cli/filecheck.h"
#include "nubo/cli/help.h"
#include "nubo/cli/information.h"
#include "nubo/cli/interrupt.h"
#include "nubo/cli/manual.h"
#include "nubo/cli/scenefile.h"
#include "nubo/cli/sceneinfo.h"
#include "nubo/cli/standardoutput.h"
#include "nubo/cli/terminalprogress.h"

namespace nubo::app {

namespace {

main::Command* findCommand(const QString& name) { return main::CommandManager::getInstance()->find(name); }

Commands knownCommands() {
  Commands commands;
  for (const QString& name : main::CommandManager::getInstance()->names())
    commands[name] = optionNames(*findCommand(name));
  return commands;
}

QJsonObject objectOf(const Arguments& arguments) {
  QJsonObject object;
  for (const Argument& argument : arguments)
    object[argument.name] = argument.value.isNull() ? QJsonValue(true) : QJsonValue(argument.value);
  return object;
}

/// Empty if the settings could be read, or there are none yet.
QString settingsProblem() {
  const QSettings* settings = main::nuboSettings();
  static_cast<void>(settings->allKeys());  // which reads the whole file
  if (settings->status() == QSettings::NoError) return QString();
  return QStringLiteral("the settings in %1 cannot be read").arg(settings->fileName());
}

}  // namespace

Program::Program(const QStringList& words, const CommandLine& line, const QString& noOpenGL)
    : Program(words, line, noOpenGL, std::make_shared<TerminalProgress>()) {}

Program::Program(const QStringList& words, const CommandLine& line, const QString& noOpenGL,
                 const std::shared_ptr<TerminalProgress>& progress)
    : m_Words(words),
      m_Line(line),
      m_NoOpenGL(noOpenGL),
      mp_Progress(progress),
      m_Report(words, line.verbosity, *progress),
      m_Session(line, line.asks() || line.wantsWindow() ? QStringList() : line.scenes, m_Report) {
  util::YProgressDialog::setPresenter(mp_Progress);
}

int Program::run(const ShowWindow& showWindow) { return m_Report.finish(m_Line.reportFile, serve(showWindow)); }

int Program::serve(const ShowWindow& showWindow) {
  if (const int status = settle(); status != Done) return status;
  if (m_Line.asks()) return answer();
  if (!m_Line.command.isEmpty()) return runCommand();
  m_Session.waitForQueuedWork();  // modules want to be ready when the first panel becomes active
  return showWindow(m_Session.processor(), m_Line, m_Report.takeFailures());
}

int Program::settle() {
  const Commands commands = knownCommands();
  m_Line = parseCommandLine(m_Words, commands);
  if (commands.empty() && (m_Line.listCommands || !m_Line.error.isEmpty())) {
    QStringList reasons = m_Report.takeFailures();
    if (!m_Line.error.isEmpty()) reasons.prepend(m_Line.error);
    m_Report.error(reasons.join("; "));
    return Failed;
  }
  if (!m_Line.error.isEmpty()) return refuse(m_Line.error);
  if (m_Line.reportFile == StandardOutputName) {
    m_Report.keepOutputFree();
  } else if (const QString cause = whyNotWritable(m_Line.reportFile);
             !m_Line.reportFile.isEmpty() && !cause.isEmpty()) {
    return refuse(QStringLiteral("--report %1: %2").arg(std::exchange(m_Line.reportFile, QString()), cause));
  }
  const QString problem = settingsProblem();
  if (!problem.isEmpty() && !m_Line.settingsFile.isEmpty()) return refuse(problem);
  m_Report.setVerbosity(m_Line.verbosity);
  if (!problem.isEmpty()) m_Report.note(problem + ", defaults take their place");
  return Done;
}

int Program::refuse(const QString& error) {
  m_Report.error(error);
  // A large scene that is still being read for nothing is not worth waiting for.
  if (m_Session.isReadingScene()) std::_Exit(m_Report.finish(m_Line.reportFile, WrongCall));
  return WrongCall;
}

int Program::answer() {
  if (m_Line.info) {
    const SceneInfo info = describeScenes(m_Line.scenes, readingSettings(m_Line), m_Line.json);
    for (const QString& error : info.errors) m_Report.error(error);
    return m_Report.print(info.text) && info.errors.isEmpty() ? Done : Failed;
  }
  const QString text = m_Line.help           ? helpText()
                       : m_Line.version      ? versionText()
                       : m_Line.listCommands ? commandListText()
                       : m_Line.manual       ? manualText()
                       : m_Line.complete     ? completionsOf(m_Line.completed).join('\n') + '\n'
                                             : commandHelpText(*findCommand(m_Line.command));
  if (!m_Report.print(text)) return Failed;
  if (m_NoOpenGL.isEmpty())
    for (const QString& failure : m_Report.takeFailures()) m_Report.note(failure);
  return Done;
}

int Program::runCommand() {
  main::Command& registered = *findCommand(m_Line.command);
  m_Arguments = m_Line.arguments;
  RunSettings settings(registered, m_Arguments);
  StandardOutput output;
  QString error = output.redirect(registered, m_Arguments);
  if (error.isEmpty() && output.isUsed() && m_Line.reportFile == StandardOutputName) {
    m_Line.reportFile.clear();
    error = QStringLiteral("standard output takes one file, and there is --report -, too");
  }
  if (error.isEmpty() && output.isUsed() && m_Line.view == AllViews)
    error = QStringLiteral("standard output takes one file, and --view all makes several");
  if (error.isEmpty()) error = settings.apply(m_Session.processor(), m_Report);
  if (!error.isEmpty()) return refuse(call() + ": " + error);
  if (!output.isUsed()) {
    const int status = run(registered, settings);
    if (settings.overlay() && !m_Line.dryRun) settings.overlay()->storeChanges();
    return status;
  }
  m_Report.keepOutputFree();
  // What a command remembers of a file that is soon gone is of no use.
  settings.isolate();
  const int status = run(registered, settings);
  if (status == Failed || !output.isWritten()) return status;
  const QString failure = output.send();
  if (failure.isEmpty()) return status;
  m_Report.error("standard output: " + failure);
  return Failed;
}

int Program::run(main::Command& registered, const RunSettings& settings) {
  const main::SettingsScope scope(settings.overlay());
  recordCall(settings);
  if (const QString error = whyCallWrong(registered); !error.isEmpty()) return refuse(error);
  if (m_Line.scale) {
    QString refusal;
    m_Line.viewHeight = viewHeightFor(*m_Line.scale, registered, m_Arguments, m_Line.size, refusal);
    if (!m_Line.viewHeight) return refuse("--scale: " + refusal);
  }
  m_Report.record().set("parameters", objectOf(boundArguments(registered)));
  mp_Progress->setText("Reading the scene");
  const QString error = prepare(registered);
  m_Report.record().endPhase(QStringLiteral("scene"));
  if (!error.isEmpty()) {
    m_Report.error(error);
    // Only the scene could tell that the value of an option makes no sense.
    return error.startsWith("--") ? WrongCall : Failed;
  }
  return m_Line.view == AllViews ? runViews(registered, settings) : runOnce(registered, settings);
}

/// All calls are checked before the first is run.
int Program::runViews(main::Command& registered, const RunSettings& settings) {
  const Arguments all = m_Arguments;
  QStringList names;
  for (const Session::View& view : m_Session.views()) names << view.name;
  const QStringList parts = partsOfFileNames(names);
  const auto take = [&](int view) {
    m_Arguments = forView(registered, all, parts[view]);
    const QString error = bindArguments(registered, m_Arguments);
    return error.isEmpty() ? whyFilesRefused(registered) : call() + ": " + error;
  };
  for (int view = 0; view < parts.size(); ++view)
    if (const QString error = take(view); !error.isEmpty()) return refuse(error);
  int status = Done;
  for (int view = 0; view < parts.size(); ++view) {
    // What was recorded in step has brought the scene to its end.
    trajectory::TrajectoryHandler::getInstance()->putBack();
    m_Session.show(m_Session.views()[std::size_t(view)]);
    if (const QString error = take(view); !error.isEmpty()) return refuse(error);
    status = runOnce(registered, settings);
    if (status != Done) break;
  }
  return status;
}

int Program::runOnce(main::Command& registered, const RunSettings& settings) {
  // Now that the command knows its panel, more can be wrong.
  if (const QString error = whyValuesRefused(registered, m_Arguments); !error.isEmpty())
    return refuse(call() + ": " + error);
  const QString summary = summaryOf(registered, m_Arguments);
  m_Report.record().set(QStringLiteral("summary"), summary);
  if (m_Line.dryRun) return m_Line.reportFile == StandardOutputName || m_Report.print(summary + '\n') ? Done : Failed;
  const std::unique_ptr<main::Command> clone(registered.runsOnClone() ? registered.clone() : nullptr);
  main::Command& command = clone ? *clone : registered;
  command.setRunSettings(settings.overlay());
  const int status = CommandRun(command, call(), m_NoOpenGL, m_Report, *mp_Progress).run(m_Session.processor(), m_Line);
  command.setRunSettings(nullptr);
  return status;
}

QString Program::whyCallWrong(main::Command& command) {
  if (const QString error = whyFilesMissing(m_Line); !error.isEmpty()) return error;
  if (m_Line.duration && !command.isAbortable())
    return QStringLiteral("--duration: %1 cannot be ended early").arg(m_Line.command);
  QStringList settings;
  for (main::Command* other : settingsCommandsOf(command)) settings << optionNames(*other);
  if (m_Line.view == AllViews && !namesView(command, m_Arguments))
    return QStringLiteral("--view all: %1 is missing in the name of a file, so that each view has its own")
        .arg(ViewPlace);
  const QString error = bindArguments(command, m_Arguments, settings);
  return error.isEmpty() ? whyFilesRefused(command) : call() + ": " + error;
}

QString Program::whyFilesRefused(main::Command& command) {
  for (const QString& file : targetFiles(command)) {
    if (m_Line.noOverwrite && QFileInfo::exists(file)) return QStringLiteral("--no-overwrite: %1 is there").arg(file);
    if (QFileInfo(file).absoluteFilePath() == QFileInfo(m_Line.reportFile).absoluteFilePath())
      return QStringLiteral("--report %1: that is what the command writes").arg(std::exchange(m_Line.reportFile, {}));
  }
  return QString();
}

void Program::recordCall(const RunSettings& settings) {
  RunRecord& record = m_Report.record();
  record.set("options", objectOf(m_Line.options));
  record.set("scenes", QJsonArray::fromStringList(m_Line.scenes.isEmpty() ? QStringList(BuiltinScene) : m_Line.scenes));
  record.set("command", m_Line.command);
  record.set("settings", objectOf(settings.arguments()));
  record.set("dryRun", m_Line.dryRun);
  if (m_Line.reportFile.isEmpty()) return;
  record.set(
      "versions",
      QJsonObject{{"nubo", QCoreApplication::applicationVersion()}, {"qt", qVersion()}, {"openGL", openGLText()}});
}

void Program::waitForScene() {
  const Interrupt interrupts;
  QObject::connect(&interrupts, &Interrupt::interrupted, &interrupts, [this](int signal) {
    m_Report.error(call() + ": interrupted while the scene was read");
    // Neither the reading thread nor what else goes on is worth waiting for.
    std::_Exit(m_Report.finish(m_Line.reportFile, EndedBySignal + signal));
  });
  m_Session.waitForScene(m_Line);
}

QString Program::prepare(const main::Command& command) {
  m_Session.waitForQueuedWork();
  // Storing settings needs no scene.
  if (dynamic_cast<const main::SettingsCommand*>(&command) && m_Line.scenes.isEmpty()) return QString();
  waitForScene();
  if (const QString error = m_Session.showScene(m_Line, command.isAbortable()); !error.isEmpty()) return error;
  const QStringList failures = m_Report.takeFailures();
  if (command.isEnabled()) {
    // It may have no need of OpenGL; if it has, its own failure will tell.
    if (m_NoOpenGL.isEmpty())
      for (const QString& note : failures) m_Report.note(note);
    return QString();
  }
  const QString reason = m_NoOpenGL.isEmpty() ? failures.join("; ") : m_NoOpenGL;
  return call() + ": " + (reason.isEmpty() ? QStringLiteral("the command is not available here") : reason);
}

}  // namespace nubo::app
