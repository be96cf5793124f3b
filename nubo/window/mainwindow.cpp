#include "nubo/window/mainwindow.h"

#include <QCloseEvent>
#include <QDockWidget>
#include <QMenuBar>
#include <QMimeData>
#include <QScreen>
#include <QSettings>
#include <QStatusBar>
#include <QToolBar>
#include <memory>

#include "kernel/log/logger.h"
#include "kernel/main/overseer.h"
#include "module_scene/gui/viewer.h"
#include "nubo/cli/lookoptions.h"
#include "nubo/window/commanddock.h"
#include "nubo/window/commands/commandactions.h"
#include "nubo/window/commands/commandrunner.h"
#include "nubo/window/commands/runningcommands.h"
#include "nubo/window/commandstarter.h"
#include "nubo/window/log/logfeed.h"
#include "nubo/window/log/logview.h"
#include "nubo/window/look/history.h"
#include "nubo/window/look/icons.h"
#include "nubo/window/look/unavailablekeys.h"
#include "nubo/window/menus/filemenu.h"
#include "nubo/window/menus/helpmenu.h"
#include "nubo/window/menus/panelmenu.h"
#include "nubo/window/menus/recentfiles.h"
#include "nubo/window/menus/settingsmenu.h"
#include "nubo/window/menus/viewmenu.h"
#include "nubo/window/messagebar.h"
#include "nubo/window/panels/panelarea.h"
#include "nubo/window/scene/elementcolors.h"
#include "nubo/window/scene/jointsliders.h"
#include "nubo/window/scene/scenechanger.h"
#include "nubo/window/scene/scenepane.h"
#include "nubo/window/scene/scenetree.h"
#include "nubo/window/scene/sectionbar.h"
#include "nubo/window/scene/trajectorybar.h"
#include "nubo/window/sceneopener.h"

namespace nubo::window {

namespace {

const QString GeometryKey = QStringLiteral("window/geometry");
const QString StateKey = QStringLiteral("window/state");
constexpr int LayoutVersion = 1;
constexpr int StatusMs = 10000;

/// Were files moved here, their program would delete them.
void acceptAsCopy(QDropEvent* event) {
  event->setDropAction(Qt::CopyAction);
  event->accept();
}

}  // namespace

MainWindow::MainWindow(main::CommandProcessor& processor) {
  setObjectName(QStringLiteral("mainWindow"));
  setWindowTitle(QStringLiteral("nubo"));
  setWindowIcon(productIcon());
  setAcceptDrops(true);
  createParts(processor);
  createDocks();
  createMenus();
  createToolBars();
  connectParts();
  connectHistory();
  restoreLayout();
}

MainWindow::~MainWindow() {
  util::YProgressDialog::setPresenter(nullptr);
  // The viewer must not be left with a panel, nor panels call a window that is half gone.
  gui::Viewer::getInstance()->setActivePanel(nullptr);
  mp_Panels->disconnect(this);
  delete mp_Panels;
}

void MainWindow::createParts(main::CommandProcessor& processor) {
  connect(new LogFeed(this), &LogFeed::arrived, this, &MainWindow::showRecords);
  new UnavailableKeys(this);
  mp_History = new History(this);
  mp_Runner = new CommandRunner(processor, this);
  mp_Changer = new SceneChanger(this);
  mp_Panels = new PanelArea;
  setCentralWidget(mp_Panels);
  mp_Messages = new MessageBar(this);
  mp_Running = new RunningCommands;
  statusBar()->addPermanentWidget(mp_Running);
  util::YProgressDialog::setPresenter(std::make_shared<RunningPresenter>(mp_Running));
  mp_Trajectory = new TrajectoryBar(*mp_Changer, *mp_Runner, this);
  mp_Section = new SectionBar(this);
  mp_Commands = new CommandActions(*mp_Runner, this);
  mp_CommandDock = new CommandDock(this);
  mp_Starter = new CommandStarter(*mp_Runner, *mp_Panels, *mp_Messages, *mp_CommandDock, this);
}

void MainWindow::createDocks() {
  mp_Tree = new SceneTree(*mp_Changer, this);
  mp_TreeDock = new QDockWidget(tr("Scene"), this);
  mp_TreeDock->setObjectName(QStringLiteral("sceneDock"));
  auto* pane = new ScenePane(mp_Tree, *mp_Changer);
  mp_TreeDock->setWidget(pane);
  connect(mp_Trajectory, &TrajectoryBar::moved, pane->joints(), &JointSliders::refresh);
  watchJoints(pane->joints());
  addDockWidget(Qt::LeftDockWidgetArea, mp_TreeDock);
  addDockWidget(Qt::LeftDockWidgetArea, mp_CommandDock);
  mp_Log = new LogView;
  mp_LogDock = new QDockWidget(tr("Log"), this);
  mp_LogDock->setObjectName(QStringLiteral("logDock"));
  mp_LogDock->setWidget(mp_Log);
  addDockWidget(Qt::BottomDockWidgetArea, mp_LogDock);
  resizeDocks({mp_LogDock}, {160}, Qt::Vertical);
  mp_LogDock->hide();
}

void MainWindow::createMenus() {
  mp_FileMenu = new FileMenu(*mp_Runner, *mp_Running, this);
  auto* edit = new QMenu(tr("&Edit"), this);
  edit->setObjectName(QStringLiteral("editMenu"));
  edit->addActions({mp_History->undoAction(), mp_History->redoAction()});
  mp_ViewMenu = new ViewMenu(*mp_Panels, {mp_TreeDock, mp_LogDock, mp_CommandDock}, mp_Section->switchAction(), this);
  mp_Starter->setViews(mp_ViewMenu->savedViews());
  mp_PanelMenu = new PanelMenu(*mp_Panels, this);
  auto* trajectory = new QMenu(tr("&Trajectory"), this);
  trajectory->setObjectName(QStringLiteral("trajectoryMenu"));
  trajectory->addActions(mp_Trajectory->controls());
  mp_SettingsMenu = new SettingsMenu(*mp_Changer, *mp_Panels, this);
  mp_Commands->addSettings(mp_SettingsMenu);
  for (QMenu* menu :
       {static_cast<QMenu*>(mp_FileMenu), edit, static_cast<QMenu*>(mp_ViewMenu), static_cast<QMenu*>(mp_PanelMenu),
        trajectory, static_cast<QMenu*>(mp_SettingsMenu), static_cast<QMenu*>(new HelpMenu(this))})
    menuBar()->addMenu(menu);
  mp_Commands->addMenus(this, mp_SettingsMenu->menuAction());
}

void MainWindow::createToolBars() {
  createToolBar(tr("File"), "fileBar", {mp_FileMenu->openAction()});
  createToolBar(tr("View"), "viewBar", QList<QAction*>{mp_ViewMenu->showAllAction()} + mp_PanelMenu->makers());
  mp_Commands->addToolBars(this);
  addToolBar(mp_Messages);
  addToolBar(Qt::BottomToolBarArea, mp_Section);
  addToolBarBreak(Qt::BottomToolBarArea);
  addToolBar(Qt::BottomToolBarArea, mp_Trajectory);
}

void MainWindow::createToolBar(const QString& title, const char* name, const QList<QAction*>& actions) {
  QToolBar* bar = addToolBar(title);
  bar->setObjectName(QLatin1String(name));
  bar->addActions(actions);
}

void MainWindow::connectParts() {
  mp_Opener = new SceneOpener({*mp_Runner, *mp_Running, *mp_Messages, *mp_Panels, *mp_Trajectory, *mp_Section, *mp_Tree,
                               mp_FileMenu->recentFiles(), mp_ViewMenu->savedViews()},
                              this);
  connect(mp_FileMenu, &FileMenu::openRequested, mp_Opener, &SceneOpener::chooseFiles);
  connect(mp_FileMenu, &FileMenu::filesChosen, mp_Opener, &SceneOpener::open);
  connect(mp_FileMenu, &FileMenu::quitRequested, this, &QWidget::close);
  connect(mp_PanelMenu, &PanelMenu::closeRequested, mp_Starter, &CommandStarter::closePanels);
  connect(mp_Panels, &PanelArea::closeRequested, mp_Starter, &CommandStarter::closePanels);
  connect(mp_Commands, &CommandActions::triggered, mp_Starter, &CommandStarter::run);
  connect(mp_Runner, &CommandRunner::started, mp_Running, &RunningCommands::add);
  connect(mp_Runner, &CommandRunner::started, mp_CommandDock, &CommandDock::follow);
  connect(mp_Runner, &CommandRunner::ended, mp_FileMenu, [this](const RunningCommand* run) {
    for (const QString& file : run->writtenFiles()) mp_FileMenu->recentResults().add(file);
  });
  connect(mp_Messages, &MessageBar::logRequested, this, &MainWindow::showLog);
  connect(mp_Tree, &SceneTree::elementSelected, mp_Panels, &PanelArea::setSelection);
  connect(mp_Tree, &SceneTree::elementActivated, this, [this] { mp_Panels->activePanel()->fitSelection(); });
  connect(mp_Changer, &SceneChanger::changed, mp_Panels, &PanelArea::updatePanels);
  connect(mp_Changer, &SceneChanger::waiting, this, &MainWindow::showWaiting);
  connect(mp_Section, &SectionBar::sectionChanged, mp_Panels, &PanelArea::updatePanels);
  connect(mp_Section, &SectionBar::pickingChanged, mp_Panels, &PanelArea::setPicking);
  connect(mp_Panels, &PanelArea::picked, mp_Section, &SectionBar::addPoint);
  connect(mp_Panels, &PanelArea::sectionDragged, mp_Section, &SectionBar::moveBy);
  connect(mp_Trajectory, &TrajectoryBar::moved, mp_Panels, &PanelArea::updatePanels);
  connect(mp_Trajectory, &TrajectoryBar::moved, mp_Panels, &PanelArea::viewChanged);
  connect(mp_Trajectory, &TrajectoryBar::cameraMoved, mp_Panels,
          [this](const gui::Camera& camera) { mp_Panels->activePanel()->setCamera(camera); });
  connect(mp_Trajectory, &TrajectoryBar::sceneChanged, mp_Tree, &SceneTree::rebuild);
  connect(mp_Trajectory, &TrajectoryBar::sceneChanged, mp_Panels, &PanelArea::updatePanels);
}

void MainWindow::connectHistory() {
  connect(mp_Opener, &SceneOpener::opened, mp_History, &History::clear);
  for (ViewPanel* panel : mp_Panels->panels()) watch(panel);
  connect(mp_Panels, &PanelArea::panelAdded, this, &MainWindow::watch);
  auto* section = new Remembered<SectionState>(
      *mp_History, tr("Section"),
      {[this] { return mp_Section->state(); }, [this](const SectionState& state) { mp_Section->setState(state); }},
      mp_Section);
  connect(mp_Section, &SectionBar::sectionChanged, section, [section] { section->changed(); });
  using Hidden = std::vector<SceneTree::Element>;
  auto* hidden = new Remembered<Hidden>(
      *mp_History, tr("Show and Hide"),
      {[this] { return mp_Tree->hidden(); }, [this](const Hidden& elements) { mp_Tree->setHidden(elements); }},
      mp_Tree);
  connect(mp_Tree, &SceneTree::visibilityChanged, hidden, [hidden] { hidden->changed(0); });
  auto* colors = new ElementColors(*mp_Changer, *mp_History, this);
  connect(mp_Tree, &SceneTree::colorRequested, colors, &ElementColors::choose);
}

void MainWindow::watchJoints(JointSliders* joints) {
  auto* pose = new Remembered<JointSliders::Pose>(
      *mp_History, tr("Joints"),
      {[joints] { return joints->pose(); }, [joints](const JointSliders::Pose& before) { joints->setPose(before); }},
      joints);
  connect(joints, &JointSliders::moved, pose, [pose] { pose->changed(); });
  connect(joints, &JointSliders::poseReplaced, pose, [pose] { pose->forget(); });
}

void MainWindow::watch(ViewPanel* panel) {
  auto* view = new Remembered<ViewPanel::View>(
      *mp_History, tr("View"),
      {[panel] { return panel->view(); }, [panel](const ViewPanel::View& before) { panel->setView(before); }}, panel);
  connect(panel, &gui::ScenePanel::cameraChanged, view, [view] { view->changed(); });
}

/// Whatever stands in the settings: Qt refuses what it cannot use.
void MainWindow::restoreLayout() {
  const QSettings* settings = main::nuboSettings();
  if (!restoreGeometry(settings->value(GeometryKey).toByteArray()))
    resize(QSize(1100, 720).boundedTo(screen()->availableSize() * 0.9));
  restoreState(settings->value(StateKey).toByteArray(), LayoutVersion);
  mp_CommandDock->hide();  // what it showed is of another day
  mp_Section->hide();
}

void MainWindow::saveLayout() {
  main::nuboSettings()->setValue(GeometryKey, saveGeometry());
  main::nuboSettings()->setValue(StateKey, saveState(LayoutVersion));
}

void MainWindow::open(const app::CommandLine& line) {
  if (const QString error = app::applyLook(line, *scene::_GlobalScene()); !error.isEmpty())
    NUBO_LOG(log::Failure, "nubo::window::MainWindow::open", error);
  if (line.orthographic) mp_Panels->activePanel()->setOrthographic(true);
  if (!line.view.isEmpty()) mp_Panels->activePanel()->showView(line.view);
  mp_Opener->openFirst(line);
  mp_Panels->activePanel()->setFocus();
}

void MainWindow::openFiles(const QStringList& files) { mp_Opener->open(files); }

bool MainWindow::isLoading() const { return mp_Opener->isLoading(); }

void MainWindow::closeEvent(QCloseEvent* event) {
  event->ignore();
  if (m_Ending || !mp_Starter->endsAll()) return;
  // While the user thought, everything may have ended.
  if (mp_Runner->running().isEmpty()) {
    saveLayout();
    return event->accept();
  }
  m_Ending = true;
  mp_Messages->showNotice(tr("The window closes when the running commands have ended."));
  mp_Runner->whenIdle([this] {
    m_Ending = false;
    close();
  });
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

void MainWindow::showLog() {
  mp_LogDock->show();
  mp_LogDock->raise();
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

void MainWindow::showWaiting(bool waits) {
  if (waits)
    statusBar()->showMessage(tr("The change waits for a command that keeps the scene as it is."));
  else
    statusBar()->clearMessage();
}

}  // namespace nubo::window
