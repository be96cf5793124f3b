#include "nubo/cli/session.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QThread>
#include <chrono>

#include "kernel/log/logger.h"
#include "kernel/main/modulemanager.h"
#include "kernel/util/delegate.h"
#include "module_scene/gui/framing.h"
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
  for (const QString& scene : scenes) {
    const io::ImportResult one = readScene(scene, control);
    if (!one.root) return one;
    all.add(one);
  }
  return all;
}

}  // namespace

Session::Session(const CommandLine& line, const QStringList& scenes, Report& report)
    : m_Report(report), m_Reading(scenes), m_Overseer(line.settingsFile), m_Control(readingSettings(line)) {
  if (!scenes.isEmpty()) m_Import = std::async(std::launch::async, readScenes, scenes, std::ref(m_Control));
  const QString folder = QCoreApplication::applicationDirPath() + "/modules";
  main::ModuleManager::getInstance()->loadModules(folder, [](const QString&) {});
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
}

bool Session::isReadingScene() const {
  return m_Import.valid() && m_Import.wait_for(std::chrono::seconds(0)) != std::future_status::ready;
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
  constexpr int Most = 3;
  for (const QString& warning : warnings.mid(0, Most)) m_Report.note(warning);
  if (warnings.size() > Most) m_Report.note(QStringLiteral("%1 more warnings").arg(warnings.size() - Most));
}

QString Session::showScene(const CommandLine& line, bool takesTime) {
  const auto& scene = m_Viewer.getGlobalScene();
  const io::ImportResult result =
      m_Import.valid() && m_Reading == line.scenes ? m_Import.get() : readScenes(line.scenes, m_Control);
  if (!result.root) return result.error;
  if (const QString unknown = whyNoVariant(line.variant, result.variants); !unknown.isEmpty()) return unknown;
  reportWarnings(result.warnings);
  scene->setRootNode(result.root);
  if (line.background.isValid()) scene->setBackgroundColor(line.background);
  if (const QString error = applyLook(line, *scene::_GlobalScene()); !error.isEmpty()) return error;

  const scene::BoundingBox box = result.root->getBoundingBox();
  gui::Camera camera;
  if (const QString error = directCamera(line, box, camera); !error.isEmpty()) return error;
  gui::Framing framing(camera, box);
  const auto look = [&] {
    const scene::SceneLocker locker(scene, scene::LockAll);
    framing.add(*scene->getRootNode());
  };
  const bool moves = takesTime || line.turntable || line.steps || !line.trajectory.isEmpty();
  const QString error = chooseTrajectory(line, result.animations, moves ? std::function<void()>(look) : nullptr);
  if (!error.isEmpty()) return error;
  if (!moves) look();

  m_Panel = std::make_unique<gui::ScenePanel>();
  m_Panel->resize(line.size);
  camera = framing.camera(line.size.width(), line.size.height());
  if (const auto name = cameraName(line.view)) {
    QString unknown;
    const auto ofFile = namedCamera(result.cameras, *name, unknown);
    if (!ofFile) return unknown;
    camera = *ofFile;
    camera.orthographic = camera.orthographic || line.orthographic;
    camera.roll += line.roll.value_or(0);
  }
  if (const QString note = placeCamera(line, box, camera); !note.isEmpty()) m_Report.note(note);
  m_Panel->setCamera(camera);
  m_Viewer.setActivePanel(m_Panel.get());
  return QString();
}

}  // namespace nubo::app
