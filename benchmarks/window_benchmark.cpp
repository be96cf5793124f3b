// Measures how soon the window answers the mouse while other things happen, and how soon the program shows it.
#include <QApplication>
#include <QElapsedTimer>
#include <QMouseEvent>
#include <QProcess>
#include <QScreen>
#include <QTemporaryDir>
#include <QTimer>
#include <algorithm>
#include <atomic>
#include <cstdio>
#include <ctime>
#include <thread>
#include <vector>

#include "kernel/main/commandmanager.h"
#include "kernel/main/modulemanager.h"
#include "kernel/main/overseer.h"
#include "module_scene/gui/picking.h"
#include "module_scene/gui/viewer.h"
#include "nubo/cli/commandarguments.h"
#include "nubo/window/commands/commandrunner.h"
#include "nubo/window/commands/runningcommand.h"
#include "nubo/window/mainwindow.h"
#include "nubo/window/panels/panelarea.h"
#include "nubo/window/panels/viewpanel.h"

namespace {

using namespace nubo;

constexpr int EventsPerSecond = 60;

void handleEventsFor(int milliseconds) {
  QEventLoop loop;
  QTimer::singleShot(milliseconds, &loop, &QEventLoop::quit);
  loop.exec();
}

/// Of all threads, which tells what work costs also where other programs run.
double processorSeconds() { return double(std::clock()) / CLOCKS_PER_SEC; }

/// Turns the scene with a mouse that neither waits for the window nor is slowed down by it, in strokes with rests
/// of different lengths between them, so that moves meet the panel in whatever it does at rest. Measures from each
/// move's being sent to the end of the first frame that shows it.
class Hand : public QObject {
 public:
  explicit Hand(window::ViewPanel* panel) : mp_Panel(panel) {
    m_Clock.start();
    panel->installEventFilter(this);
    connect(panel, &QOpenGLWidget::frameSwapped, this, &Hand::frameShown);
  }

  /// Works until `done` says so (it is asked on this thread, between events), and prints what was measured.
  template <class Done>
  void measure(const char* name, Done done) {
    m_Gaps.clear();
    m_Frames = 0;
    m_Sent = 0;
    m_Stop = m_Stopped = false;
    const double before = processorSeconds();
    std::thread sender([this] { send(); });
    do handleEventsFor(20);
    while (!done());
    m_Stop = true;
    // Not waited for by joining, which would keep its last moves from being handled.
    while (!m_Stopped || int(m_Gaps.size()) < m_Sent) handleEventsFor(20);
    sender.join();
    std::sort(m_Gaps.begin(), m_Gaps.end());
    std::printf(
        "\"%s\": {\"longest\": %.4f, \"95 %%\": %.4f, \"median\": %.4f, \"inputs\": %d, \"frames\": %d, "
        "\"processors per frame\": %.4f}",
        name, m_Gaps.back(), m_Gaps[m_Gaps.size() * 95 / 100], m_Gaps[m_Gaps.size() / 2], int(m_Sent), m_Frames,
        (processorSeconds() - before) / m_Frames);
  }

 private:
  void send() {
    constexpr int Rests[] = {0, 260, 300, 350, 420, 600, 900};  // milliseconds
    const QPoint center = mp_Panel->rect().center();
    for (int stroke = 0; !m_Stop; ++stroke) {
      post(QEvent::MouseButtonPress, center);
      for (int i = 1; i <= EventsPerSecond && !m_Stop; ++i) {
        std::this_thread::sleep_for(std::chrono::microseconds(1000000 / EventsPerSecond));
        ++m_Sent;
        post(QEvent::MouseMove, center + QPoint(2 * (stroke % 2 ? -i : i), i));
      }
      post(QEvent::MouseButtonRelease, center);
      std::this_thread::sleep_for(std::chrono::milliseconds(Rests[stroke % std::size(Rests)]));
    }
    m_Stopped = true;
  }

  void post(QEvent::Type type, const QPoint& at) {
    auto* event = new QMouseEvent(type, at, type == QEvent::MouseMove ? Qt::NoButton : Qt::LeftButton,
                                  type == QEvent::MouseButtonRelease ? Qt::NoButton : Qt::LeftButton, Qt::NoModifier);
    event->setTimestamp(ulong(m_Clock.nsecsElapsed()));
    QCoreApplication::postEvent(mp_Panel, event);
  }

  bool eventFilter(QObject*, QEvent* event) override {
    if (event->type() == QEvent::MouseMove && static_cast<QMouseEvent*>(event)->timestamp())
      m_Handled.push_back(static_cast<QMouseEvent*>(event)->timestamp());
    return false;
  }

  void frameShown() {
    const qint64 now = m_Clock.nsecsElapsed();
    for (const ulong sent : m_Handled) m_Gaps.push_back(double(now - qint64(sent)) * 1e-9);
    if (!m_Handled.empty()) ++m_Frames;
    m_Handled.clear();
  }

  window::ViewPanel* mp_Panel;
  QElapsedTimer m_Clock;
  std::atomic<bool> m_Stop{false}, m_Stopped{true};
  std::atomic<int> m_Sent{0};
  int m_Frames = 0;
  std::vector<ulong> m_Handled;
  std::vector<double> m_Gaps;  // seconds
};

/// The program's window as a user has it.
class Session {
 public:
  Session() : m_Overseer(m_Folder.filePath("settings.ini")) {
    main::ModuleManager::getInstance()->loadModules(NUBO_MODULE_DIR, [](const QString&) {});
    while (m_Overseer.getCommandProcessor()->isRunning()) handleEventsFor(10);
    m_Window = std::make_unique<window::MainWindow>(*m_Overseer.getCommandProcessor());
    m_Window->show();
  }
  ~Session() {
    m_Overseer.getCommandProcessor()->shutDown();
    m_Window.reset();
    main::ModuleManager::getInstance()->unloadModules();
  }

  window::ViewPanel* panel() const { return m_Window->findChild<window::PanelArea*>()->activePanel(); }
  window::CommandRunner& runner() const { return *m_Window->findChild<window::CommandRunner*>(); }
  util::YPointer<scene::SceneElement> root() { return m_Viewer.getGlobalScene()->getRootNode(); }

  void open(const QString& file) { m_Window->openFiles({file}); }
  void start(const QString& name, app::Arguments arguments, const QString& file) {
    main::Command* command = main::CommandManager::getInstance()->find(name);
    arguments << app::Argument{"filename", m_Folder.filePath(file)};
    const QString error = app::bindArguments(*command, arguments);
    if (!error.isEmpty() || !runner().start({command, name, std::nullopt}))
      qFatal("%s: %s", qPrintable(name), qPrintable(error));
  }

 private:
  QTemporaryDir m_Folder;
  main::Overseer m_Overseer;
  gui::Viewer m_Viewer;
  std::unique_ptr<window::MainWindow> m_Window;
};

/// Opens the file; what tells whether it has been shown for some seconds.
auto opening(Session& session, const QString& file) {
  const auto before = session.root();
  session.open(file);
  return [&session, before, shown = QElapsedTimer()]() mutable {
    if (!shown.isValid() && session.root() != before) shown.start();
    return shown.isValid() && shown.elapsed() > 3000;
  };
}

void measureAnswers(const QString& model, const QString& larger) {
  Session session;
  handleEventsFor(500);
  Hand hand(session.panel());
  const auto open = [&](const QString& file) { return opening(session, file); };
  const auto idle = [&] { return session.runner().isIdle(); };
  QElapsedTimer timer;
  const auto since = [&](int milliseconds) {
    return [&timer, milliseconds] { return timer.elapsed() > milliseconds; };
  };
  std::printf("{");
  hand.measure("opening the model", open(model));
  std::printf(", ");
  timer.start();
  hand.measure("idle", since(12000));
  std::printf(", ");
  session.start("grabimage", {{"width", "10000"}}, "picture.png");
  hand.measure("picture", idle);
  std::printf(", ");
  session.start("grabvideo", {{"width", "1280"}, {"height", "720"}, {"sync", "0"}}, "video.mp4");
  timer.start();
  hand.measure("recording", since(12000));
  session.runner().abortAll();
  while (!idle()) handleEventsFor(20);
  std::printf(", ");
  hand.measure("opening a larger one", open(larger));
  std::printf("}\n");
}

/// Prints the longest that `act`, which gets the number of its call, has taken.
template <class Act>
void measureCalls(const char* name, int calls, Act act) {
  double longest = 0, processors = 0;
  for (int call = 0; call < calls; ++call) {
    QElapsedTimer timer;
    timer.start();
    const double before = processorSeconds();
    act(call);
    longest = std::max(longest, double(timer.nsecsElapsed()) * 1e-9);
    processors = std::max(processors, processorSeconds() - before);
    handleEventsFor(20);
  }
  std::printf(", \"%s\": {\"longest\": %.4f, \"processors\": %.4f}", name, longest, processors);
}

/// How soon a scene of very many parts or points answers: as a whole, from near, and to what asks for all of it.
void measureScene(const QString& model) {
  Session session;
  handleEventsFor(500);
  window::ViewPanel& panel = *session.panel();
  Hand hand(&panel);
  QElapsedTimer timer;
  const auto since = [&](int milliseconds) {
    return [&timer, milliseconds] { return timer.elapsed() > milliseconds; };
  };
  std::printf("{");
  hand.measure("opening", opening(session, model));
  std::printf(", ");
  timer.start();
  hand.measure("whole", since(12000));
  for (const auto& [name, factor] : {std::pair{"nearer", 3.0}, {"near", 4.0}}) {
    panel.zoom(factor);
    std::printf(", ");
    timer.start();
    hand.measure(name, since(12000));
  }
  constexpr int Calls = 20;
  measureCalls("framing", Calls, [&](int call) { panel.showView(call % 2 ? "front" : "isometric"); });
  measureCalls("picking", Calls, [&](int call) {
    const scene::SceneLocker locker(scene::_GlobalScene(), scene::LockAll);
    const QPointF at(panel.width() * (call + 0.5) / Calls, 0.5 * panel.height());
    gui::pick(*scene::_GlobalScene(), gui::rayThrough(at, panel.size(), panel.getCamera(), 1));
  });
  std::printf("}\n");
}

/// What the screen shows on a line through the panel.
QImage line() { return QGuiApplication::primaryScreen()->grabWindow(0, 0, 300, -1, 1).toImage(); }

int countOf(const QImage& image, const QRgb& color) {
  int count = 0;
  for (int x = 0; x < image.width(); ++x) count += image.pixel(x, 0) == color;
  return count;
}

/// Seconds from the program's start to its first frame, and to the first with the model, if one is given.
int measureStart(const QString& program, const QStringList& model) {
  constexpr QRgb Background = 0xff3a414c;
  constexpr int Much = 200;  // pixels
  QTemporaryDir folder;
  QElapsedTimer timer;
  QProcess process;
  process.setProcessChannelMode(QProcess::ForwardedChannels);
  timer.start();
  process.start(program, QStringList{"--settings", folder.filePath("settings.ini")} + model);
  const auto waitFor = [&](const auto& condition) {
    while (!condition() && process.state() != QProcess::NotRunning && timer.elapsed() < 60000) handleEventsFor(5);
    return double(timer.nsecsElapsed()) * 1e-9;
  };
  int seen = 0;
  std::printf("{\"window\": %.3f", waitFor([&] { return (seen = countOf(line(), Background)) > Much; }));
  if (!model.isEmpty())
    std::printf(", \"model\": %.3f", waitFor([&] { return countOf(line(), Background) < seen - Much; }));
  std::printf("}\n");
  process.terminate();
  return process.waitForFinished() && seen > Much ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  QCoreApplication::addLibraryPath(NUBO_PLUGIN_DIR);
  const QApplication application(argc, argv);
  const QStringList words = application.arguments();
  if (words.value(1) == "start" && words.size() >= 3) return measureStart(words[2], words.mid(3));
  if (words.value(1) == "answers" && words.size() == 4) {
    measureAnswers(words[2], words[3]);
    return 0;
  }
  if (words.value(1) == "scene" && words.size() == 3) {
    measureScene(words[2]);
    return 0;
  }
  std::fputs("window_benchmark answers MODEL LARGER-MODEL | scene MODEL | start PROGRAM [MODEL]\n", stderr);
  return 2;
}
