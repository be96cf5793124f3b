#include "nubo/window/mainwindow.h"

#include <QActionGroup>
#include <QApplication>
#include <QCloseEvent>
#include <QColorDialog>
#include <QDockWidget>
#include <QFileDialog>
#include <QFileInfo>
#include <QMenuBar>
#include <QMessageBox>
#include <QMimeData>
#include <QPushButton>
#include <QScreen>
#include <QSettings>
#include <QStatusBar>
#include <algorithm>
#include <memory>

#include "kernel/log/logger.h"
#include "kernel/main/overseer.h"
#include "module_scene/gui/viewer.h"
#include "nubo/window/aboutdialog.h"
#include "nubo/window/appearance.h"
#include "nubo/window/commandactions.h"
#include "nubo/window/commandrunner.h"
#include "nubo/window/icons.h"
#include "nubo/window/logfeed.h"
#include "nubo/window/logview.h"
#include "nubo/window/messagebar.h"
#include "nubo/window/mnemonics.h"
#include "nubo/window/panelarea.h"
#include "nubo/window/parameterdialog.h"
#include "nubo/window/recentfiles.h"
#include "nubo/window/runningcommands.h"
#include "nubo/window/savedviews.h"
#include "nubo/window/scenechanger.h"
#include "nubo/window/sceneloader.h"
#include "nubo/window/scenetree.h"
#include "nubo/window/trajectorybar.h"

namespace nubo::window {

namespace {

const QString GeometryKey = QStringLiteral("window/geometry");
const QString StateKey = QStringLiteral("window/state");
const QString BackgroundKey = QStringLiteral("window/background");
const QString SamplesKey = QStringLiteral("window/samples");
const QString AppearanceKey = QStringLiteral("window/appearance");
constexpr int LayoutVersion = 1;
constexpr int StatusMs = 10000;
constexpr int SampleChoices[] = {0, 2, 4, 8};

QString titlesOf(const QList<RunningCommand*>& runs) {
  QStringList titles;
  for (const RunningCommand* run : runs) titles << QObject::tr("“%1”").arg(run->title());
  return titles.join(QStringLiteral(", "));
}

QString namesOf(const QStringList& files) {
  QStringList names;
  for (const QString& file : files)
    names << (SceneLoader::isBuiltin(file) ? MainWindow::tr("Built-in scene") : QFileInfo(file).fileName());
  return names.join(QStringLiteral(", "));
}

/// Were files moved here, their program would delete them.
void acceptAsCopy(QDropEvent* event) {
  event->setDropAction(Qt::CopyAction);
  event->accept();
}

}  // namespace

MainWindow::MainWindow(main::CommandProcessor& processor)
    : mp_Runner(new CommandRunner(processor, this)), mp_LogFeed(new LogFeed(this)) {
  setObjectName(QStringLiteral("mainWindow"));
  setWindowTitle(QStringLiteral("nubo"));
  setWindowIcon(productIcon());
  setAcceptDrops(true);
  createParts();
  createDocks();
  createMenus();
  connectParts();
  restoreLayout();
}

MainWindow::~MainWindow() {
  util::YProgressDialog::setPresenter(nullptr);
  // The viewer must not be left with a panel, nor panels call a window that is half gone.
  gui::Viewer::getInstance()->setActivePanel(nullptr);
  mp_Panels->disconnect(this);
  delete mp_Messages;  // looks at the tabs
  delete mp_Panels;
}

void MainWindow::createParts() {
  mp_Changer = new SceneChanger(this);
  mp_Loader = new SceneLoader(this);
  mp_Panels = new PanelArea;
  setCentralWidget(mp_Panels);
  mp_Messages = new MessageBar(mp_Panels);
  mp_Running = new RunningCommands;
  statusBar()->addPermanentWidget(mp_Running);
  util::YProgressDialog::setPresenter(std::make_shared<RunningPresenter>(mp_Running));
  mp_Trajectory = new TrajectoryBar(*mp_Changer, *mp_Runner, this);
  mp_Commands = new CommandActions(*mp_Runner, this);
}

void MainWindow::createDocks() {
  mp_Tree = new SceneTree(*mp_Changer, this);
  mp_TreeDock = new QDockWidget(tr("Scene"), this);
  mp_TreeDock->setObjectName(QStringLiteral("sceneDock"));
  mp_TreeDock->setWidget(mp_Tree);
  addDockWidget(Qt::LeftDockWidgetArea, mp_TreeDock);
  mp_Log = new LogView;
  mp_LogDock = new QDockWidget(tr("Log"), this);
  mp_LogDock->setObjectName(QStringLiteral("logDock"));
  mp_LogDock->setWidget(mp_Log);
  addDockWidget(Qt::BottomDockWidgetArea, mp_LogDock);
  resizeDocks({mp_LogDock}, {160}, Qt::Vertical);
  mp_LogDock->hide();
}

void MainWindow::createMenus() {
  createFileMenu();
  createViewMenu();
  createPanelMenu();
  createTrajectoryMenu();
  QMenu* settings = createSettingsMenu();
  createHelpMenu();
  mp_Commands->addMenus(this, settings->menuAction());
  mp_Commands->addToolBars(this);
  addToolBar(Qt::BottomToolBarArea, mp_Trajectory);
}

void MainWindow::createFileMenu() {
  QMenu* menu = menuBar()->addMenu(tr("&File"));
  QAction* open =
      menu->addAction(makeIcon(Icon::Open), tr("&Open…"), this, &MainWindow::chooseFiles, QKeySequence::Open);
  open->setToolTip(tr("Open model files as one scene"));
  mp_Recent = new RecentFiles(this);
  menu->addMenu(mp_Recent);
  menu->addAction(tr("Open &Built-in Scene"), this, [this] { openFiles({app::BuiltinScene}); });
  menu->addSeparator();
  QAction* stop = menu->addAction(makeIcon(Icon::Stop), tr("&Stop Command"), mp_Running, &RunningCommands::stopLatest,
                                  QKeySequence(tr("Ctrl+.")));
  stop->setObjectName(QStringLiteral("stop"));
  const auto enableStop = [this, stop] {
    const QList<RunningCommand*> runs = mp_Runner->running();
    stop->setEnabled(std::any_of(runs.begin(), runs.end(), [](auto* run) { return run->isAbortable(); }));
  };
  connect(mp_Runner, &CommandRunner::started, stop, enableStop);
  connect(mp_Runner, &CommandRunner::ended, stop, enableStop);
  enableStop();
  menu->addSeparator();
  menu->addAction(tr("&Quit"), this, &QWidget::close, QKeySequence(tr("Ctrl+Q")));
  QToolBar* bar = addToolBar(tr("File"));
  bar->setObjectName(QStringLiteral("fileBar"));
  bar->addAction(open);
}

void MainWindow::createViewMenu() {
  QMenu* menu = menuBar()->addMenu(tr("&View"));
  menu->setObjectName(QStringLiteral("viewMenu"));
  QAction* fit = menu->addAction(
      makeIcon(Icon::Fit), tr("Show &All"), this, [this] { mp_Panels->activePanel()->showAll(); },
      QKeySequence(tr("Ctrl+0")));
  menu->addAction(
      tr("Show &Selected Element"), this, [this] { mp_Panels->activePanel()->fitSelection(); },
      QKeySequence(tr("Ctrl+E")));
  menu->addAction(
      tr("Zoom &In"), this, [this] { mp_Panels->activePanel()->zoom(1.25); }, QKeySequence::ZoomIn);
  menu->addAction(
      tr("Zoom &Out"), this, [this] { mp_Panels->activePanel()->zoom(0.8); }, QKeySequence::ZoomOut);
  menu->addSeparator();
  const QStringList labels{tr("&Front"), tr("Bac&k"),   tr("&Left"),   tr("&Right"),
                           tr("&Top"),   tr("&Bottom"), tr("Obli&que")};
  const QStringList views = gui::Camera::viewNames();
  for (int i = 0; i < views.size(); ++i) {
    const QString label = labels.value(i, views[i]);
    menu->addAction(
        label, this, [this, view = views[i]] { mp_Panels->activePanel()->showView(view); },
        QKeySequence(QStringLiteral("Ctrl+%1").arg(i + 1)));
  }
  mp_Views = new SavedViews(*mp_Panels, this);
  menu->addMenu(mp_Views);
  menu->addSeparator();
  createAppearanceMenus(menu);
  QToolBar* bar = addToolBar(tr("View"));
  bar->setObjectName(QStringLiteral("viewBar"));
  bar->addAction(fit);
}

void MainWindow::createAppearanceMenus(QMenu* menu) {
  QAction* full = menu->addAction(tr("F&ull Screen"), this, [this](bool on) {
    setWindowState(on ? windowState() | Qt::WindowFullScreen : windowState() & ~Qt::WindowFullScreen);
  });
  full->setCheckable(true);
  full->setShortcut(QKeySequence(tr("F11")));
  menu->addSeparator();
  for (QDockWidget* dock : {mp_TreeDock, mp_LogDock}) menu->addAction(dock->toggleViewAction());
  mp_TreeDock->toggleViewAction()->setShortcut(QKeySequence(tr("F9")));
  mp_LogDock->toggleViewAction()->setShortcut(QKeySequence(tr("F10")));
  addMnemonics(menu->actions());
}

void MainWindow::createPanelMenu() {
  QMenu* menu = menuBar()->addMenu(tr("&Panels"));
  menu->setObjectName(QStringLiteral("panelMenu"));
  QAction* tab = menu->addAction(
      makeIcon(Icon::NewTab), tr("New &Tab"), this, [this] { mp_Panels->addPanelTab()->setFocus(); },
      QKeySequence(tr("Ctrl+T")));
  QAction* right = menu->addAction(
      makeIcon(Icon::SplitRight), tr("Split to the &Right"), this, [this] { mp_Panels->split(Qt::Horizontal); },
      QKeySequence(tr("Ctrl+R")));
  QAction* below = menu->addAction(
      makeIcon(Icon::SplitDown), tr("Split &Downwards"), this, [this] { mp_Panels->split(Qt::Vertical); },
      QKeySequence(tr("Ctrl+D")));
  menu->addAction(
      tr("&Next Panel"), this,
      [this] {
        const QList<ViewPanel*> panels = mp_Panels->panelsOfTab(mp_Panels->currentIndex());
        ViewPanel* next = panels[(panels.indexOf(mp_Panels->activePanel()) + 1) % panels.size()];
        mp_Panels->activate(next);
        next->setFocus();
      },
      QKeySequence(tr("F6")));
  menu->addSeparator();
  menu->addAction(
      makeIcon(Icon::Close), tr("&Close Panel"), this, [this] { closePanels({mp_Panels->activePanel()}); },
      QKeySequence(tr("Ctrl+W")));
  QToolBar* bar = findChild<QToolBar*>(QStringLiteral("viewBar"));
  bar->addActions({tab, right, below});
}

void MainWindow::createTrajectoryMenu() {
  QMenu* menu = menuBar()->addMenu(tr("&Trajectory"));
  menu->setObjectName(QStringLiteral("trajectoryMenu"));
  menu->addActions(mp_Trajectory->controls());
}

QMenu* MainWindow::createSettingsMenu() {
  QMenu* menu = menuBar()->addMenu(tr("&Settings"));
  menu->setObjectName(QStringLiteral("settingsMenu"));
  menu->addAction(tr("&Background Colour…"), this, &MainWindow::chooseBackground);

  QMenu* samples = menu->addMenu(tr("&Edge Smoothing"));
  auto* sampleGroup = new QActionGroup(this);
  const int chosen = main::nuboSettings()->value(SamplesKey, scene::_GlobalScene()->getSamples()).toInt();
  for (const int count : SampleChoices) {
    QAction* action = samples->addAction(count ? tr("%n Samples", "", count) : tr("None"));
    action->setCheckable(true);
    action->setChecked(count == chosen);
    sampleGroup->addAction(action);
    connect(action, &QAction::triggered, this, [this, count] { setSamples(count); });
    if (count == chosen) scene::_GlobalScene()->setSamples(count);
  }
  addMnemonics(samples->actions());

  QMenu* appearance = menu->addMenu(tr("&Appearance"));
  auto* group = new QActionGroup(this);
  const QStringList labels{tr("As the &System"), tr("&Light"), tr("&Dark")};
  const QString current = main::nuboSettings()->value(AppearanceKey).toString();
  for (int i = 0; i < appearances().size(); ++i) {
    const QString name = appearances()[i];
    QAction* action = appearance->addAction(labels[i]);
    action->setCheckable(true);
    action->setChecked(name == current || (i == 0 && !appearances().contains(current)));
    group->addAction(action);
    connect(action, &QAction::triggered, this, [name] {
      main::nuboSettings()->setValue(AppearanceKey, name);
      applyAppearance(name);
    });
  }
  applyAppearance(current);
  mp_Commands->addSettings(menu);
  return menu;
}

void MainWindow::createHelpMenu() {
  QMenu* menu = menuBar()->addMenu(tr("&Help"));
  menu->setObjectName(QStringLiteral("helpMenu"));
  menu->addAction(tr("&Keys and Mouse"), this, &MainWindow::showKeys, QKeySequence::HelpContents);
  menu->addAction(tr("&About nubo"), this, [this] { AboutDialog(this).exec(); });
  menu->addAction(tr("About &Qt"), qApp, &QApplication::aboutQt);
}

void MainWindow::connectParts() {
  connect(mp_LogFeed, &LogFeed::arrived, this, &MainWindow::showRecords);
  connect(mp_Messages, &MessageBar::logRequested, mp_LogDock, [this] {
    mp_LogDock->show();
    mp_LogDock->raise();
  });
  connect(mp_Loader, &SceneLoader::started, this, &MainWindow::showReading);
  connect(mp_Loader, &SceneLoader::finished, this, &MainWindow::sceneRead);
  connect(mp_Recent, &RecentFiles::chosen, this, [this](const QString& file) { openFiles({file}); });
  connect(mp_Panels, &PanelArea::closeRequested, this, &MainWindow::closePanels);
  connect(mp_Commands, &CommandActions::triggered, this, &MainWindow::runCommand);
  connect(mp_Runner, &CommandRunner::started, mp_Running, &RunningCommands::add);
  connect(mp_Runner, &CommandRunner::started, this, &MainWindow::holdView);
  connect(mp_Runner, &CommandRunner::ended, this, &MainWindow::holdView);
  connect(mp_Tree, &SceneTree::elementSelected, mp_Panels, &PanelArea::setSelection);
  connect(mp_Tree, &SceneTree::elementActivated, this, [this] { mp_Panels->activePanel()->fitSelection(); });
  connect(mp_Changer, &SceneChanger::changed, mp_Panels, &PanelArea::updatePanels);
  connect(mp_Changer, &SceneChanger::waiting, this, [this](bool waits) {
    if (waits)
      statusBar()->showMessage(tr("The change waits for a command that keeps the scene as it is."));
    else
      statusBar()->clearMessage();
  });
  connect(mp_Trajectory, &TrajectoryBar::moved, mp_Panels, &PanelArea::updatePanels);
  connect(mp_Trajectory, &TrajectoryBar::sceneChanged, mp_Tree, &SceneTree::rebuild);
  connect(mp_Trajectory, &TrajectoryBar::sceneChanged, mp_Panels, &PanelArea::updatePanels);
  connect(mp_Trajectory, &TrajectoryBar::sceneChanged, this, [this] { dismiss(m_TrajectoryFailure); });
  connect(mp_Trajectory, &TrajectoryBar::failed, this, [this](const QString& text) {
    m_TrajectoryFailure = text;
    mp_Messages->showFailure(text);
  });
}

/// Whatever stands in the settings: Qt refuses what it cannot use.
void MainWindow::restoreLayout() {
  const QSettings* settings = main::nuboSettings();
  if (!restoreGeometry(settings->value(GeometryKey).toByteArray()))
    resize(QSize(1100, 720).boundedTo(screen()->availableSize() * 0.9));
  restoreState(settings->value(StateKey).toByteArray(), LayoutVersion);
  const QColor background(settings->value(BackgroundKey).toString());
  if (background.isValid()) setBackground(background);
}

void MainWindow::saveLayout() {
  main::nuboSettings()->setValue(GeometryKey, saveGeometry());
  main::nuboSettings()->setValue(StateKey, saveState(LayoutVersion));
}

void MainWindow::open(const app::CommandLine& line) {
  m_Line = line;
  if (line.samples) scene::_GlobalScene()->setSamples(*line.samples);
  if (line.background.isValid()) setBackground(line.background);
  if (!line.view.isEmpty()) mp_Panels->activePanel()->showView(line.view);
  openFiles(line.scenes);
  mp_Panels->activePanel()->setFocus();
}

void MainWindow::openFiles(const QStringList& files) {
  if (!files.isEmpty()) mp_Loader->load(files);
}

bool MainWindow::isLoading() const { return mp_Loader->isLoading(); }

void MainWindow::chooseFiles() {
  QStringList patterns;
  for (const QString& suffix : io::importableSuffixes()) patterns << QStringLiteral("*.") + suffix;
  QFileDialog dialog(this, tr("Open Models"));
  dialog.setFileMode(QFileDialog::ExistingFiles);
  dialog.setDirectory(mp_Recent->latestDirectory());
  dialog.setOption(QFileDialog::HideNameFilterDetails);
  dialog.setNameFilters({tr("Models (%1)").arg(patterns.join(QLatin1Char(' '))), tr("All Files (*)")});
  if (dialog.exec() == QDialog::Accepted) openFiles(dialog.selectedFiles());
}

void MainWindow::showReading(const QStringList& files) {
  dismiss(m_ReadFailure);  // what was wrong with other files says nothing about these
  mp_Running->end(mp_Loader);
  mp_Running->begin(mp_Loader, tr("Reading %1").arg(namesOf(files)));
}

/// If the message still stands there.
void MainWindow::dismiss(QString& message) {
  if (!message.isEmpty() && mp_Messages->text() == std::exchange(message, {})) mp_Messages->dismiss();
}

void MainWindow::sceneRead(const QStringList& files, const QStringList& failed, const io::ImportResult& result) {
  mp_Running->end(mp_Loader);
  for (const QString& file : failed) mp_Recent->remove(file);
  if (!result.root) {
    m_ReadFailure = result.error.simplified();
    NUBO_LOG(log::Failure, "nubo::window::MainWindow::sceneRead", result.error);
    return;
  }
  const QString notice = tr("%1 is read, and will be shown when no command runs any more.").arg(namesOf(files));
  if (!mp_Runner->isIdle()) mp_Messages->showNotice(notice);
  mp_Runner->whenIdle([this, files, result, notice] {
    if (mp_Messages->text() == notice) mp_Messages->dismiss();
    installScene(files, result);
  });
}

/// Nothing runs, so that nobody uses the old scene or its trajectory.
void MainWindow::installScene(const QStringList& files, const io::ImportResult& result) {
  mp_Trajectory->clear();
  mp_Panels->setSelection(nullptr);
  scene::_GlobalScene()->setRootNode(result.root);
  const QString error = mp_Trajectory->setScene(result.animations, std::exchange(m_Line, {}));
  mp_Tree->rebuild();
  mp_Views->setScene(files);
  for (ViewPanel* panel : mp_Panels->panels()) panel->showAll();
  setWindowTitle(QStringLiteral("%1 – nubo").arg(namesOf(files)));
  for (const QString& file : files)
    if (!SceneLoader::isBuiltin(file)) mp_Recent->add(file);
  QStringList warnings = result.warnings;
  if (!error.isEmpty()) warnings.prepend(error);
  for (const QString& warning : warnings)
    NUBO_LOG(log::Note, "nubo::window::MainWindow::installScene", warning);
  if (!warnings.isEmpty())
    mp_Messages->showNotice(warnings.size() == 1
                                ? warnings.first()
                                : tr("%1 (and %n more)", "", warnings.size() - 1).arg(warnings.first()));
}

void MainWindow::holdView(const RunningCommand* run) {
  if (auto* panel = qobject_cast<ViewPanel*>(run->panel())) panel->setHeld(!mp_Runner->runningFor(panel).isEmpty());
}

void MainWindow::closePanels(const QList<ViewPanel*>& panels) {
  QList<RunningCommand*> runs;
  for (const ViewPanel* panel : panels) runs << mp_Runner->runningFor(panel);
  QList<QPointer<ViewPanel>> doomed;  // a panel may go while the user thinks
  for (ViewPanel* panel : panels) doomed << panel;
  if (!runs.isEmpty()) {
    QMessageBox box(QMessageBox::Question, tr("Close Panel"),
                    tr("Still running for this panel: %1.").arg(titlesOf(runs)), QMessageBox::Cancel, this);
    box.setInformativeText(
        tr("If you close the panel, the command may end at once, and what it has made so far may be "
           "lost. To keep it, cancel here and stop the command first."));
    QPushButton* close = box.addButton(tr("C&lose All the Same"), QMessageBox::DestructiveRole);
    box.setDefaultButton(QMessageBox::Cancel);
    box.exec();
    if (box.clickedButton() != close) return;
  }
  for (const QPointer<ViewPanel>& panel : doomed)
    if (panel) mp_Panels->closePanel(panel);
}

bool MainWindow::confirmsClosing(const QList<RunningCommand*>& runs) {
  QMessageBox box(QMessageBox::Question, tr("Quit"), tr("Still running: %1.").arg(titlesOf(runs)), QMessageBox::Cancel,
                  this);
  box.setInformativeText(
      tr("If you quit, recordings are stopped and kept, and the window closes when all has ended. A picture is built "
         "to its end."));
  QPushButton* quit = box.addButton(tr("Stop and &Quit"), QMessageBox::DestructiveRole);
  box.setDefaultButton(QMessageBox::Cancel);
  box.exec();
  return box.clickedButton() == quit;
}

void MainWindow::closeEvent(QCloseEvent* event) {
  const QList<RunningCommand*> runs = mp_Runner->running();
  if (!runs.isEmpty() && !m_Ending) {
    event->ignore();
    if (!confirmsClosing(runs)) return;
    m_Ending = true;
    mp_Runner->abortAll();
    mp_Messages->showNotice(tr("The window closes when the running commands have ended."));
    mp_Runner->whenIdle([this] { close(); });
    return;
  }
  saveLayout();
  event->accept();
}

void MainWindow::dragEnterEvent(QDragEnterEvent* event) {
  if (event->mimeData()->hasUrls()) acceptAsCopy(event);
}

void MainWindow::dragMoveEvent(QDragMoveEvent* event) { acceptAsCopy(event); }

void MainWindow::dropEvent(QDropEvent* event) {
  QStringList files;
  for (const QUrl& url : event->mimeData()->urls())
    if (url.isLocalFile()) files << url.toLocalFile();
  acceptAsCopy(event);
  if (files.isEmpty())
    mp_Messages->showFailure(tr("Only files of this computer can be opened."));
  else
    openFiles(files);
}

void MainWindow::runCommand(main::Command* command, const QString& title) {
  if (QWidget* own = command->getGUIWindow()) return own->show();
  if (QWidget* own = command->getCommandWidget()) return own->show();
  if (command->getParameterSets().empty()) return startCommand(command, title, nullptr);
  auto* dialog = new ParameterDialog(*command, title, this);
  dialog->setAttribute(Qt::WA_DeleteOnClose);
  dialog->setBusyFiles(mp_Runner->files());
  connect(dialog, &QDialog::accepted, this, [this, command, title, dialog] {
    const main::ParameterSet values = dialog->values();
    startCommand(command, title, &values);
  });
  dialog->open();
}

void MainWindow::startCommand(main::Command* command, const QString& title, const main::ParameterSet* values) {
  if (!mp_Runner->start(*command, title, values))
    mp_Messages->showFailure(tr("“%1” cannot be run now, or does not take these values.").arg(title));
}

void MainWindow::showRecords(const QVector<log::Record>& records) {
  mp_Log->append(records);
  for (const log::Record& record : records) {
    const QString message = record.message.simplified();
    // Commands report unfit parameters as a mere note.
    if (record.level <= log::Failure || message == QLatin1String("Parameter failure"))
      mp_Messages->showFailure(message);
    else if (record.level <= log::Note && !record.file.startsWith(QLatin1String("Qt")))
      statusBar()->showMessage(message, StatusMs);
  }
}

void MainWindow::showFailures(const QStringList& failures) {
  if (failures.isEmpty()) return;
  QVector<log::Record> records;
  for (const QString& failure : failures)
    records.append({log::Failure, QString(), 0, QString(), failure, QDateTime::currentDateTime(), nullptr});
  showRecords(records);
}

void MainWindow::chooseBackground() {
  const QColor color =
      QColorDialog::getColor(scene::_GlobalScene()->getBackgroundColor(), this, tr("Background Colour"));
  if (!color.isValid()) return;
  main::nuboSettings()->setValue(BackgroundKey, color.name());
  setBackground(color);
}

void MainWindow::setBackground(const QColor& color) {
  mp_Changer->change(QStringLiteral("background"), [color] { scene::_GlobalScene()->setBackgroundColor(color); });
}

void MainWindow::setSamples(int samples) {
  main::nuboSettings()->setValue(SamplesKey, samples);
  scene::_GlobalScene()->setSamples(samples);
  mp_Panels->updatePanels();
}

void MainWindow::showKeys() {
  QMessageBox::information(
      this, tr("Keys and Mouse"),
      tr("<table cellpadding=3>"
         "<tr><td>Turn</td><td>left button, or arrow keys</td></tr>"
         "<tr><td>Move</td><td>middle button, or Shift with the left one or the arrow keys</td></tr>"
         "<tr><td>Zoom</td><td>wheel, right button, + and −</td></tr>"
         "<tr><td>Show all</td><td>double click, or Home</td></tr>"
         "<tr><td>Next panel</td><td>F6</td></tr>"
         "<tr><td>Show or hide the scene and the log</td><td>F9, F10</td></tr>"
         "<tr><td>Play and pause</td><td>Ctrl+Space</td></tr>"
         "<tr><td>Stop a command</td><td>Ctrl+.</td></tr>"
         "<tr><td>Close a message</td><td>Esc</td></tr>"
         "</table>"));
}

}  // namespace nubo::window
