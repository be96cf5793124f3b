#include "nubo/session.h"

#ifdef __GLIBC__
#include <malloc.h>
#endif

#include <QCoreApplication>
#include <QEventLoop>
#include <QThread>
#include <chrono>

#include "kernel/main/modulemanager.h"
#include "kernel/util/delegate.h"
#include "module_scene/scene/builtinanimation.h"
#include "module_scene/scene/builtinscene.h"
#include "module_trajectory/trajectory.h"
#include "nubo/report.h"
#include "nubo/trajectorychoice.h"

namespace nubo::app {

namespace {

io::ImportResult readScene(const QString& scene) {
  if (scene != BuiltinScene) return io::importFile(scene);
  io::ImportResult result;
  result.root = scene::createBuiltinScene();
  result.animations = {scene::createBuiltinAnimation(*result.root)};
  return result;
}

/// Models and pictures are large blocks that come and go. Left to itself, the C library soon keeps freed blocks of up
/// to 32 MB for later, which the next large picture then finds missing; a tile still comes from what it keeps.
void giveLargeBlocksBack() {
#ifdef __GLIBC__
  constexpr int LargeBlock = 4 << 20;
  mallopt(M_MMAP_THRESHOLD, LargeBlock);
#endif
}

}  // namespace

Session::Session(const QString& settingsFile, const QString& scene, Report& report)
    : m_Report(report), m_Overseer(settingsFile) {
  giveLargeBlocksBack();
  if (!scene.isEmpty()) m_Import = std::async(std::launch::async, readScene, scene);
  main::ModuleManager::getInstance()->loadModules(QCoreApplication::applicationDirPath() + "/modules", [](QString) {});
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

QString Session::showScene(const CommandLine& line) {
  const auto& scene = m_Viewer.getGlobalScene();
  const io::ImportResult result = m_Import.valid() ? m_Import.get() : readScene(BuiltinScene);
  if (!result.root) return result.error;
  reportWarnings(result.warnings);
  scene->setRootNode(result.root);
  if (const QString error = chooseTrajectory(line, result.animations); !error.isEmpty()) return error;
  if (line.background.isValid()) scene->setBackgroundColor(line.background);
  if (line.samples) m_Viewer.setSamples(*line.samples);

  m_Panel = std::make_unique<gui::ScenePanel>();
  m_Panel->resize(line.size);
  gui::Camera camera = m_Panel->getCamera();
  if (!line.view.isEmpty() && camera.setView(line.view)) m_Panel->setCamera(camera);
  m_Panel->fit();
  m_Viewer.setActivePanel(m_Panel.get());
  return QString();
}

}  // namespace nubo::app
