// Uses the window at random for as long as it is told to, and finds what ends the program or blocks it.
#include <QAbstractButton>
#include <QApplication>
#include <QColorDialog>
#include <QComboBox>
#include <QElapsedTimer>
#include <QMenuBar>
#include <QMouseEvent>
#include <QPushButton>
#include <QSettings>
#include <QSlider>
#include <QSpinBox>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTimer>
#include <QTreeWidget>
#include <atomic>
#include <cstdio>
#include <random>
#include <thread>

#include "kernel/main/commandmanager.h"
#include "kernel/main/modulemanager.h"
#include "kernel/main/overseer.h"
#include "module_scene/gui/viewer.h"
#include "nubo/cli/commandarguments.h"
#include "nubo/window/commands/commandrunner.h"
#include "nubo/window/mainwindow.h"
#include "nubo/window/panels/panelarea.h"

namespace {

using namespace nubo;

/// Ends the program with an image of it when the application thread has not come back for too long.
class Watchdog {
 public:
  Watchdog() : m_Thread([this] { watch(); }) {}
  ~Watchdog() {
    m_Ends = true;
    m_Thread.join();
  }
  void pat() { m_Seconds = 0; }

 private:
  void watch() {
    constexpr int Patience = 300;  // seconds, with a sanitizer and busy processors
    while (!m_Ends) {
      std::this_thread::sleep_for(std::chrono::seconds(1));
      if (++m_Seconds < Patience) continue;
      std::puts("soak: the window does not answer any more");
      std::abort();
    }
  }

  std::atomic<bool> m_Ends{false};
  std::atomic<int> m_Seconds{0};
  std::thread m_Thread;
};

/// A window and a user who knows no plan. What it does depends on its random numbers, and on when commands end.
class Soak {
 public:
  Soak(unsigned seed, const QStringList& models)
      : m_Random(seed), m_Models(models), m_Overseer(m_Folder.filePath("settings.ini")) {
    for (const char* key : {"lastGrabImageDirectory", "lastGrabVideoDirectory"})
      main::nuboSettings()->setValue(key, m_Folder.path());
    main::ModuleManager::getInstance()->loadModules(NUBO_BIN_DIR "/modules", [](const QString&) {});
    QObject::connect(&m_Answers, &QTimer::timeout, &m_Answers, [this] { answer(); });
    m_Answers.start(150);
  }
  ~Soak() {
    m_Overseer.getCommandProcessor()->shutDown();
    m_Window.reset();
    main::ModuleManager::getInstance()->unloadModules();
  }

  void run(int seconds) {
    m_Clock.start();
    while (m_Clock.elapsed() < 1000 * qint64(seconds)) {
      if (!m_Window || !m_Window->isVisible()) reopen();
      act();
      rest(random(10) ? random(120) : random(1500));
    }
    tell("end", {});
    while (!m_Window->close()) rest(200);
  }

 private:
  struct Action {
    int weight;
    const char* name;
    QString (Soak::*act)();
  };

  int random(int end) { return end > 0 ? int(m_Random() % unsigned(end)) : 0; }
  template <class List>
  auto any(const List& list) {
    return list[random(int(list.size()))];
  }
  template <class Object>
  Object* part(const char* name = "") const {
    return m_Window->findChild<Object*>(name);
  }
  window::CommandRunner& runner() const { return *m_Window->findChild<window::CommandRunner*>(); }
  window::PanelArea& panels() const { return *m_Window->findChild<window::PanelArea*>(); }

  void tell(const char* action, const QString& detail) {
    std::printf("%8.2f %s %s\n", double(m_Clock.elapsed()) / 1000, action, qPrintable(detail));
    std::fflush(stdout);
  }

  void rest(int milliseconds) {
    QEventLoop loop;
    QTimer::singleShot(milliseconds, &loop, &QEventLoop::quit);
    loop.exec();
    m_Watchdog.pat();
  }

  void act() {
    static constexpr Action Actions[] = {
        {6, "look", &Soak::look},       {4, "key", &Soak::pressKey},      {8, "toggle", &Soak::toggle},
        {2, "show", &Soak::showAll},    {5, "select", &Soak::select},     {4, "step", &Soak::slide},
        {1, "mode", &Soak::chooseMode}, {6, "menu", &Soak::useMenu},      {4, "video", &Soak::record},
        {2, "picture", &Soak::grab},    {3, "stop", &Soak::stop},         {1, "open", &Soak::open},
        {1, "size", &Soak::resize},     {4, "play", &Soak::togglePlaying}};
    int sum = 0;
    for (const Action& action : Actions) sum += action.weight;
    int chosen = random(sum);
    for (const Action& action : Actions)
      if ((chosen -= action.weight) < 0) return tell(action.name, (this->*action.act)());
  }

  void reopen() {
    while (m_Window && !runner().isIdle()) rest(50);
    m_Window.reset();
    m_Window = std::make_unique<window::MainWindow>(*m_Overseer.getCommandProcessor());
    m_Window->show();
    tell("window", open());
  }

  QString open() {
    const QString model = any(m_Models);
    m_Window->openFiles({model});
    return model;
  }

  QString look() {
    window::ViewPanel* panel = any(panels().panels());
    const Qt::MouseButton button = any(std::array{Qt::LeftButton, Qt::LeftButton, Qt::MiddleButton, Qt::RightButton});
    QPointF at = panel->rect().center();
    const auto send = [&](QEvent::Type type) {
      const bool moves = type == QEvent::MouseMove;
      QMouseEvent event(type, at, moves ? Qt::NoButton : button, button, Qt::NoModifier);
      QApplication::sendEvent(panel, &event);
    };
    send(QEvent::MouseButtonPress);
    for (int i = random(12); i >= 0; --i) {
      at += QPointF(random(31) - 15, random(31) - 15);
      send(QEvent::MouseMove);
      QCoreApplication::processEvents();
      if (!panels().panels().contains(panel)) return "the panel went";
    }
    send(QEvent::MouseButtonRelease);
    return {};
  }

  QString pressKey() {
    window::ViewPanel* panel = panels().activePanel();
    const Qt::Key key = any(std::array{Qt::Key_Left, Qt::Key_Up, Qt::Key_Plus, Qt::Key_Minus, Qt::Key_Home});
    QKeyEvent event(QEvent::KeyPress, key, random(4) ? Qt::NoModifier : Qt::ShiftModifier);
    QApplication::sendEvent(panel, &event);
    return QKeySequence(key).toString();
  }

  QList<QTreeWidgetItem*> items() const {
    QList<QTreeWidgetItem*> items;
    for (QTreeWidgetItemIterator item(part<QTreeWidget>("sceneTree")); *item; ++item) items << *item;
    return items;
  }

  QString toggle() {
    if (items().isEmpty()) return {};
    QTreeWidgetItem* item = any(items());
    item->setCheckState(0, item->checkState(0) == Qt::Checked ? Qt::Unchecked : Qt::Checked);
    return item->text(0);
  }

  QString showAll() {
    for (QTreeWidgetItem* item : items()) item->setCheckState(0, Qt::Checked);
    return {};
  }

  QString select() {
    auto* tree = part<QTreeWidget>("sceneTree");
    tree->clearSelection();
    if (items().isEmpty() || !random(4)) return "nothing";
    QTreeWidgetItem* item = any(items());
    tree->setCurrentItem(item, 0, QItemSelectionModel::ClearAndSelect);
    return item->text(0);
  }

  QString togglePlaying() {
    part<QAction>("play")->trigger();
    return {};
  }

  QString slide() {
    auto* slider = part<QSlider>("trajectorySlider");
    if (slider->isEnabled()) slider->setValue(random(slider->maximum() + 1));
    return QString::number(slider->value());
  }

  QString chooseMode() {
    auto* modes = part<QComboBox>("trajectoryModes");
    const int mode = random(modes->count());
    if (modes->isEnabled()) QMetaObject::invokeMethod(modes, "activated", Q_ARG(int, mode));
    return modes->itemText(mode);
  }

  static QList<QAction*> leaves(const QList<QAction*>& actions) {
    QList<QAction*> found;
    for (QAction* action : actions)
      if (action->menu())
        found << leaves(action->menu()->actions());
      else if (action->isEnabled() && !action->isSeparator())
        found << action;
    return found;
  }

  QString useMenu() {
    constexpr int ManyPanels = 5;
    QAction* menu = any(m_Window->menuBar()->actions());
    const QList<QAction*> actions = leaves({menu});
    if (actions.isEmpty()) return {};
    const bool closes = menu->menu()->objectName() == "panelMenu" && panels().panels().size() >= ManyPanels;
    QAction* action = closes ? actions.last() : any(actions);
    tell("menu", action->text());
    action->trigger();
    return "done";
  }

  QString start(const char* name, const QString& file, app::Arguments arguments) {
    main::Command* command = main::CommandManager::getInstance()->find(name);
    if (!command || !command->isEnabled() || runner().running().size() >= 3) return {};
    arguments << app::Argument{"filename", m_Folder.filePath(file)};
    const QString error = app::bindArguments(*command, arguments);
    if (!error.isEmpty()) return error;
    return file + (runner().start(*command, name, nullptr) ? "" : " does not start");
  }

  QString record() {
    const char* suffix = any(std::array{"y4m", "avi", "mp4", "mkv", "gif", "webm"});
    return start("grabvideo", QStringLiteral("%1.%2").arg(random(20)).arg(suffix),
                 {{"width", QString::number(16 + random(500))},
                  {"height", QString::number(16 + random(400))},
                  {"sync", QString::number(random(2))}});
  }

  QString grab() {
    const char* suffix = any(std::array{"png", "jpg", "tif"});
    return start("grabimage", QStringLiteral("%1.%2").arg(random(20)).arg(suffix),
                 {{"width", QString::number(16 + random(random(4) ? 600 : 3000))}});
  }

  QString stop() {
    if (!random(3)) runner().abortAll();
    part<QAction>("stop")->trigger();
    return QString::number(runner().running().size());
  }

  QString resize() {
    m_Window->resize(500 + random(700), 400 + random(450));
    return {};
  }

  /// What a dialog that waits for the user is told.
  void answer() {
    QWidget* dialog = QApplication::activeModalWidget();
    if (!dialog || !dialog->isVisible()) return;
    tell("answer", dialog->windowTitle());
    if (auto* colors = qobject_cast<QColorDialog*>(dialog))
      colors->setCurrentColor(QColor::fromHsv(random(360), 99, 99));
    for (const char* size : {"width", "height"})
      if (auto* editor = dialog->findChild<QWidget*>(size))
        if (auto* box = qobject_cast<QSpinBox*>(editor->focusProxy())) box->setValue(16 + random(500));
    QList<QAbstractButton*> buttons;
    for (auto* button : dialog->findChildren<QPushButton*>())
      if (button->isVisible() && button->isEnabled()) buttons << button;
    if (!buttons.isEmpty() && dialog->windowTitle() != "Open Models")
      any(buttons)->click();
    else
      dialog->close();
  }

  std::mt19937 m_Random;
  const QStringList m_Models;
  QTemporaryDir m_Folder;
  main::Overseer m_Overseer;
  gui::Viewer m_Viewer;
  Watchdog m_Watchdog;
  QTimer m_Answers;
  QElapsedTimer m_Clock;
  std::unique_ptr<window::MainWindow> m_Window;
};

}  // namespace

int main(int argc, char** argv) {
  QStandardPaths::setTestModeEnabled(true);
  QCoreApplication::addLibraryPath(NUBO_BIN_DIR "/plugins");
  const QApplication application(argc, argv);
  QApplication::setQuitOnLastWindowClosed(false);
  const QStringList words = application.arguments();
  const int seconds = words.value(1).toInt();
  const unsigned seed = words.size() > 2 ? words[2].toUInt() : std::random_device()();
  if (seconds < 1) {
    std::fputs("soak SECONDS [SEED [MODEL...]]\n", stderr);
    return 2;
  }
  std::printf("seed %u\n", seed);
  Soak(seed, QStringList{"builtin"} + words.mid(3)).run(seconds);
  std::puts("done");
}
