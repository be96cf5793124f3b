// A host with panels, a scene that tells its steps apart, and the command "grabvideo" in it.
#pragma once

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QSettings>
#include <cmath>

#include "fakeencoder.h"
#include "kernel/main/commandmanager.h"
#include "kernel/main/parameter.h"
#include "module_grab/commands/grabvideo.h"
#include "module_scene/mesh/preparation.h"
#include "module_trajectory/trajectory.h"
#include "support/host.h"

namespace nubo::test {

using commands::grab::GrabVideo;

/// A red bar in the upper half of the picture, in front of the default background, whose right edge stands at a
/// step's place.
class SteppedScene {
 public:
  explicit SteppedScene(int steps) : m_Steps(steps), m_Bar(new scene::SceneElement(QStringLiteral("bar"))) {
    auto* geometry = new scene::Geometry;
    geometry->positions = {-4, 0, 0.1f, 0, 0, 0.1f, 0, 0, 4, -4, 0, 4};
    geometry->indices = {0, 1, 2, 0, 2, 3};
    geometry->material = new scene::Material;
    geometry->material->diffuse = {1, 0, 0, 1};
    geometry->material->lit = false;
    prepare(*geometry);
    m_Bar->addGeometry(geometry);
    scene::_GlobalScene()->setSamples(0);
    gui::Viewer::getInstance()->getGlobalScene()->setRootNode(m_Bar);
  }
  ~SteppedScene() {
    trajectory::TrajectoryHandler::getInstance()->clear();
    gui::Viewer::getInstance()->getGlobalScene()->setRootNode(nullptr);
  }

  /// In the panels' view of makePanel(), of a square frame.
  double place(int step) const { return -1 + 2.0 * (step + 1) / m_Steps; }

  void selectPoints(int position) const {
    std::deque<trajectory::Point> points;
    for (int step = 0; step < m_Steps; ++step) points.push_back({place(step), 0, 0, 0});
    auto info = std::make_unique<trajectory::TrajectoryInfo>(std::move(points), m_Bar);
    info->setPosition(std::uint64_t(position));
    trajectory::TrajectoryHandler::getInstance()->select(std::move(info));
  }
  void selectMatrices(int position) const {
    auto steps = std::make_unique<std::deque<trajectory::MatrixMap>>();
    for (int step = 0; step < m_Steps; ++step) steps->push_back({{m_Bar, math::translation(place(step), 0, 0)}});
    auto info = std::make_unique<trajectory::AdvancedTrajectoryInfo>(std::move(steps));
    info->setPosition(std::uint64_t(position));
    trajectory::TrajectoryHandler::getInstance()->select(std::move(info));
  }

  /// The step that a square frame of this size shows.
  int stepShown(const QByteArray& frame, int size) const {
    const int row = size / 4;
    int covered = 0;
    while (covered < size && uchar(frame[(row * size + covered) * 4 + 3]) == 255) ++covered;
    const double halfWidth = 3 * std::tan(M_PI / 8);  // of the view at the bar's distance
    return int(std::lround(((2.0 * covered / size - 1) * halfWidth + 1) * m_Steps / 2)) - 1;
  }

 private:
  int m_Steps;
  util::YPointer<scene::SceneElement> m_Bar;
};

class RecordingTest : public ::testing::Test {
 protected:
  RecordingTest() {
    qputenv("TMPDIR", m_Host.directory.path().toLocal8Bit());
    main::CommandManager::getInstance()->add(mp_Registered, &RecordingTest::create);
    QObject::connect(mp_Registered->monitor(), &main::CommandMonitor::enabledChanged,
                     [this](bool enabled) { m_RegisteredEnabled = enabled; });
  }
  ~RecordingTest() override {
    m_Host.overseer.getCommandProcessor()->shutDown();
    main::CommandManager::getInstance()->removeOf({&RecordingTest::create});
    m_Panels.clear();
    delete grab::video::VideoEncoder::getInstance();
    qunsetenv("TMPDIR");
  }

  gui::ScenePanel* makePanel(int width = 64, int height = 64) {
    m_Panels.push_back(std::make_unique<gui::ScenePanel>());
    gui::ScenePanel* panel = m_Panels.back().get();
    panel->resize(width, height);
    gui::Camera camera;
    camera.azimuth = camera.elevation = 0;
    camera.distance = 3;
    panel->setCamera(camera);
    m_Host.viewer.setActivePanel(panel);
    return panel;
  }
  void closePanel(gui::ScenePanel* panel) {
    m_Panels.erase(std::find_if(m_Panels.begin(), m_Panels.end(), [&](auto& other) { return other.get() == panel; }));
  }

  /// A clone, ready to run, that lives as long as the test.
  main::Command& makeCommand(const QString& fileName, int width = 0, int height = 0, bool sync = false) {
    main::Command* clone = mp_Registered->clone();
    m_Commands.emplace_back(clone);
    main::ParameterSet values(0, QString());
    for (const QString& text :
         {fileName, QString::number(width), QString::number(height), QString::number(int(sync))}) {
      auto* parameter = new main::Parameter<QString>(QStringLiteral("value"), QString(), QString(), true, nullptr);
      parameter->castString(text);
      values.addParameter(parameter);
    }
    EXPECT_TRUE(clone->setParameters(values));
    return *clone;
  }
  void start(main::Command& command) {
    m_Host.overseer.getCommandProcessor()->processCommand(&command, main::CommandProcessor::Queued, true);
  }
  void setSetting(const char* key, const QVariant& value) { main::nuboSettings()->setValue(key, value); }
  void useFileChunks() { setSetting("settings/grabvideousememoryasbuffer", false); }
  /// How many chunks lie in files, which have no name where the system allows that.
  int temporaryFiles() const {
    int count = 0;
    for (const QFileInfo& file : QDir(QStringLiteral("/proc/self/fd")).entryInfoList(QDir::AllEntries | QDir::System)) {
      const QString target = file.symLinkTarget();
      count += target.startsWith(m_Host.file("#")) ||
               target.startsWith(m_Host.file(QCoreApplication::applicationName() + '.'));
    }
    return count;
  }
  /// Makes every frame of BigSize x BigSize pixels a chunk of its own.
  void useSmallestChunks() { setSetting("settings/grabvideotempfilesize", 1); }
  static constexpr int BigSize = 512;

  static main::Command* create() { return new GrabVideo; }

  Host m_Host;
  LogCollector m_Log;
  FakeEncoding m_Encoding{QStringLiteral("fake")};
  GrabVideo* mp_Registered = new GrabVideo;  // the command manager's
  std::atomic<bool> m_RegisteredEnabled{false};
  std::vector<std::unique_ptr<gui::ScenePanel>> m_Panels;
  std::vector<std::unique_ptr<main::Command>> m_Commands;
};

}  // namespace nubo::test
