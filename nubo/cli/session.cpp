#include "nubo/cli/session.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QThread>
#include <chrono>

#include "kernel/log/logger.h"
#include "kernel/main/modulemanager.h"
#include "kernel/util/delegate.h"
#include "kernel/util/pluginfolders.h"
#include "module_scene/gui/framing.h"
#include "module_scene/io/sidebyside.h"
#include "module_trajectory/trajectory.h"
#include "nubo/cli/cameraplace.h"
#include "nubo/cli/lookoptions.h"
#include "nubo/cli/namedcamera.h"
#include "nubo/cli/report.h"
#include "nubo/cli/scenefile.h"
#include "nubo/cli/trajectorychoice.h"

namespace nubo::app {

namespace {

/// One scene of all; none at all where one cannot be read.
io::ImportResult readScenes(const QStringList& scenes, io::ImportControl& control) {
  if (scenes.isEmpty()) return readScene(BuiltinScene, control);
  if (scenes.size() == 1) return readScene(scenes.first(), control);
  io::ImportResult all;
  all.root = new scene::SceneElement(QStringLiteral("scene"));
  for (const io::ImportResult& one : io::readSideBySide(scenes, control, io::Others::AreGivenUp, readScene)) {
    if (!one.root) return one;
    all.add(one);
  }
  return all;
}

QStringList viewNames(const CommandLine& line, const io::ImportResult& result) {
  if (line.view != AllViews) return {line.view};
  QStringList names = gui::Camera::viewNames();
  for (const scene::FileCamera& camera : result.cameras) names << QStringLiteral("camera:") + camera.name;
  return names;
}

/// The part of a view that is left free at each of its sides.
double marginOf(const CommandLine& line) { return line.margin ? *line.margin / 100 : gui::Camera::UsualMargin; }

}  // namespace

Session::Session(const CommandLine& line, const QStringList& scenes, Report& report)
    : m_Report(report), m_Reading(scenes), m_Overseer(line.settingsFile), m_Control(readingSettings(line)) {
  if (!scenes.isEmpty()) m_Import = std::async(std::launch::async, readScenes, scenes, std::ref(m_Control));
  const QString folder = QCoreApplication::applicationDirPath() + "/modules";
  for (const QString& each : QStringList(folder) + util::furtherPluginFolders(QStringLiteral("modules")))
    main::ModuleManager::getInstance()->loadModules(each, [](const QString&) {});
  if (main::ModuleManager::getInstance()->names().isEmpty())
    NUBO_LOG(log::Failure, "nubo::app::Session::Session",
             QStringLiteral("no module with commands was found in ") + folder);
}

Session::~Session() {
  m_Overseer.getCommandProcessor()->shutDown();
  m_Viewer.setActivePanel(nullptr);
  m_Panel.reset();
  trajectory::TrajectoryHandler::getInstance()->clear();
  main::ModuleManager::getInstance()->unloadModules();
  // The program ends, and the system takes the memory of a scene of many parts back faster than each of them gives it.
  [[gnu::used]] static const auto* const left = new util::YPointer<scene::Scene>(m_Viewer.getGlobalScene());
}

bool Session::isReadingScene() const {
  return m_Import.valid() && m_Import.wait_for(std::chrono::seconds(0)) != std::future_status::ready;
}

void Session::waitForScene(const CommandLine& line) {
  if (!m_Import.valid() || m_Reading != line.scenes) {
    m_Reading = line.scenes;
    m_Import = std::async(std::launch::async, readScenes, line.scenes, std::ref(m_Control));
  }
  constexpr std::chrono::milliseconds Patience(5);
  while (m_Import.wait_for(Patience) != std::future_status::ready) QCoreApplication::processEvents();
}

void Session::waitForQueuedWork() {
  while (processor().isRunning()) {
    QCoreApplication::processEvents();
    QThread::usleep(200);
  }
  // Commands may have left delegates, which run in order.
  QEventLoop loop;
  if (util::WorkerDelegate::invoke(new util::FunctionDelegate([&loop] { loop.quit(); }))) loop.exec();
}

void Session::reportWarnings(const QStringList& warnings) {
  // A line that tells of one more takes as much room as that one.
  constexpr int Most = 3;
  const int shown = warnings.size() == Most + 1 ? Most + 1 : Most;
  for (const QString& warning : warnings.mid(0, shown)) m_Report.note(warning);
  if (warnings.size() > shown) m_Report.note(QStringLiteral("%1 more warnings").arg(warnings.size() - shown));
}

QString Session::showScene(const CommandLine& line, bool takesTime) {
  const auto& scene = m_Viewer.getGlobalScene();
  waitForScene(line);
  const io::ImportResult result = m_Import.get();
  if (!result.root) return result.error;
  if (const QString unknown = whyNoVariant(line.variant, result.variants); !unknown.isEmpty()) return unknown;
  reportWarnings(result.warnings);
  scene->setRootNode(result.root);
  if (const QString error = applyLook(line, *scene::_GlobalScene()); !error.isEmpty()) return error;

  if (const QString note = setSection(*scene, line.section); !note.isEmpty())
    m_Report.note(QStringLiteral("--section: ") + note);
  const bool moves =
      takesTime || line.turntable || line.steps || !line.trajectory.isEmpty() || !line.cameraPath.isEmpty();
  if (const QString error = findViews(line, result, moves); !error.isEmpty()) return error;
  if (const auto camera = trajectory::SelectedTrajectory().camera()) m_Views.front().camera = *camera;
  m_Panel = std::make_unique<gui::ScenePanel>();
  m_Panel->resize(line.size);
  show(m_Views.front());
  m_Viewer.setActivePanel(m_Panel.get());
  return QString();
}

/// Selects the trajectory, too, since views show all of it where it `moves`.
QString Session::findViews(const CommandLine& line, const io::ImportResult& result, bool moves) {
  const auto& scene = m_Viewer.getGlobalScene();
  const scene::BoundingBox box = result.root->getBoundingBox();
  std::vector<gui::Framing> framings;
  for (const QString& name : viewNames(line, result)) {
    CommandLine one = line;
    one.view = name;
    m_Views.push_back({name, gui::Camera()});
    if (const QString error = directCamera(one, box, m_Views.back().camera); !error.isEmpty()) return error;
    framings.emplace_back(m_Views.back().camera, box);
  }
  const auto look = [&] {
    const scene::SceneLocker locker(scene, scene::LockAll);
    for (gui::Framing& framing : framings) framing.add(*scene->getRootNode());
  };
  const QString error = chooseTrajectory(line, result.animations, moves ? std::function<void()>(look) : nullptr);
  if (!error.isEmpty()) return error;
  if (!moves) look();
  for (std::size_t i = 0; i < m_Views.size(); ++i) {
    m_Views[i].camera = framings[i].camera(line.size.width(), line.size.height(), nullptr, marginOf(line));
    if (const QString unknown = placeView(line, result, box, m_Views[i]); !unknown.isEmpty()) return unknown;
  }
  return QString();
}

QString Session::placeView(const CommandLine& line, const io::ImportResult& result, const scene::BoundingBox& box,
                           View& view) {
  if (const auto name = cameraName(view.name)) {
    QString unknown;
    const auto ofFile = namedCamera(result.cameras, *name, unknown);
    if (!ofFile) return unknown;
    view.camera = *ofFile;
    view.camera.orthographic = view.camera.orthographic || line.orthographic;
    view.camera.roll += line.roll.value_or(0);
  }
  if (const QString note = placeCamera(line, box, view.camera); !note.isEmpty()) m_Report.note(note);
  if (line.viewHeight) {
    const QString note = showHeight(*line.viewHeight, marginOf(line), view.camera);
    // Who places the camera need not want all.
    const bool showsAll = !cameraName(view.name) && !line.eye && !line.target;
    if (showsAll && !note.isEmpty()) m_Report.note(note);
  }
  return QString();
}

}  // namespace nubo::app
