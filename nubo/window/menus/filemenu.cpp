#include "nubo/window/menus/filemenu.h"

#include <algorithm>

#include "nubo/cli/commandline.h"
#include "nubo/window/commands/commandrunner.h"
#include "nubo/window/commands/runningcommands.h"
#include "nubo/window/look/icons.h"
#include "nubo/window/menus/recentfiles.h"
#include "nubo/window/results/desktop.h"

namespace nubo::window {

FileMenu::FileMenu(const CommandRunner& runner, RunningCommands& running, QWidget* parent)
    : QMenu(tr("&File"), parent),
      mp_Recent(new RecentFiles(tr("Open &Recent"), QStringLiteral("recentFiles"), this)),
      mp_Results(new RecentFiles(tr("Recent R&esults"), QStringLiteral("recentResults"), this)) {
  mp_Open =
      addAction(makeIcon(Icon::Open), tr("&Open…"), this, &FileMenu::openRequested, QKeySequence(QKeySequence::Open));
  mp_Open->setToolTip(tr("Open model files as one scene"));
  addMenu(mp_Recent);
  connect(mp_Recent, &RecentFiles::chosen, this, [this](const QString& file) { emit filesChosen({file}); });
  addAction(tr("Open &Built-in Scene"), this, [this] { emit filesChosen({app::BuiltinScene}); });
  addSeparator();
  addMenu(mp_Results);
  connect(mp_Results, &RecentFiles::chosen, this, &openOnDesktop);
  addStopAction(runner, running);
  addSeparator();
  addAction(tr("&Quit"), this, &FileMenu::quitRequested, QKeySequence(Qt::CTRL + Qt::Key_Q));
}

void FileMenu::addStopAction(const CommandRunner& runner, RunningCommands& running) {
  QAction* stop = addAction(makeIcon(Icon::Stop), tr("&Stop Command"), &running, &RunningCommands::stopLatest,
                            QKeySequence(Qt::CTRL + Qt::Key_Period));
  stop->setObjectName(QStringLiteral("stop"));
  const auto enableStop = [&runner, stop] {
    const QList<RunningCommand*>& runs = runner.running();
    stop->setEnabled(std::any_of(runs.begin(), runs.end(), [](auto* run) { return run->isAbortable(); }));
  };
  connect(&runner, &CommandRunner::started, stop, enableStop);
  connect(&runner, &CommandRunner::ended, stop, enableStop);
  enableStop();
}

}  // namespace nubo::window
