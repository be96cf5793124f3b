// A host with panels, a scene that tells its steps apart, and the command "grabvideo" in it.
#pragma once

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QSettings>
#include <cmath>
#include <cstdlib>
#include <functional>

#include "fakeencoder.h"
#include "kernel/main/commandmanager.h"
#include "kernel/main/parameter.h"
#include "module_grab/commands/grabvideo.h"
#include "module_scene/mesh/preparation.h"
#include "module_trajectory/trajectory.h"
#include "support/host.h"

namespace nubo::test {

using commands::grab::GrabVideo;
using Texts = std::vector<QString>;

constexpr int Patience = 10000;  // milliseconds

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
    select(std::make_unique<trajectory::TrajectoryInfo>(std::move(points), m_Bar), position);
  }
  void selectMatrices(int position) const {
    auto steps = std::make_unique<std::deque<trajectory::MatrixMap>>();
    for (int step = 0; step < m_Steps; ++step) steps->push_back({{m_Bar, math::translation(place(step), 0, 0)}});
    select(std::make_unique<trajectory::AdvancedTrajectoryInfo>(std::move(steps)), position);
  }

  /// The step that a square frame of this size shows.
  int stepShown(const QByteArray& frame, int size) const {
    const int row = size / 4;
    int covered = 0;
    while (covered < size && uchar(frame[(row * size + covered) * 4 + 3]) == 255) ++covered;
    const double halfWidth = 3 * std::tan(M_PI / 8);  // of the view at the bar's distance
    return int(std::lround(((2.0 * covered / size - 1) * halfWidth + 1) * m_Steps / 2)) - 1;
  }
  std::vector<int> stepsShown(const FakeEncoding& encoding, int size) const {
    std::vector<int> steps;
    for (const QByteArray& frame : encoding.frames()) steps.push_back(stepShown(frame, size));
    return steps;
  }

 private:
  template <class Info>
  static void select(std::unique_ptr<Info> info, int position) {
    info->setPosition(std::uint64_t(position));
    trajectory::TrajectoryHandler::getInstance()->select(std::move(info));
  }

  int m_Steps;
  util::YPointer<scene::SceneElement> m_Bar;
};

/// What a command tells of itself; any thread.
class CommandWatch {
 public:
  explicit CommandWatch(const main::Command& command) {
    using Monitor = main::CommandMonitor;
    connect(command, &Monitor::textChanged, [this](const QString& text) { m_Texts.push_back(text); });
    connect(command, &Monitor::detailChanged, [this](const QString& detail) { m_Detail = detail.toStdString(); });
    connect(command, &Monitor::processedChanged, [this](int percent) { m_Percents.push_back(percent); });
  }

  std::vector<QString> texts() const { return get(m_Texts); }
  std::vector<int> percents() const { return get(m_Percents); }
  QString detail() const { return QString::fromStdString(get(m_Detail)); }
  int grabbed() const { return std::atoi(get(m_Detail).c_str()); }

 private:
  template <class Signal, class Slot>
  void connect(const main::Command& command, Signal signal, Slot slot) {
    const auto locked = [this, slot](const auto& value) {
      const QMutexLocker locker(&m_Mutex);
      slot(value);
    };
    QObject::connect(command.monitor(), signal, command.monitor(), locked, Qt::DirectConnection);
  }
  template <class Value>
  Value get(const Value& value) const {
    const QMutexLocker locker(&m_Mutex);
    return value;
  }

  mutable QMutex m_Mutex;
  std::vector<QString> m_Texts;
  std::vector<int> m_Percents;
  std::string m_Detail;  // no QString: threads would share its count, which a sanitizer does not see
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

  static main::ParameterSet makeValues(const QString& fileName, int width = 0, int height = 0, bool sync = false) {
    main::ParameterSet values(0, QString());
    for (const QString& text :
         {fileName, QString::number(width), QString::number(height), QString::number(int(sync))}) {
      auto* parameter = new main::Parameter<QString>(QStringLiteral("value"), QString(), QString(), true, nullptr);
      parameter->castString(text);
      values.addParameter(parameter);
    }
    return values;
  }
  /// A clone, ready to run, that lives as long as the test.
  main::Command& makeCommand(const QString& fileName, int width = 0, int height = 0, bool sync = false) {
    main::Command* clone = mp_Registered->clone();
    m_Commands.emplace_back(clone);
    EXPECT_TRUE(clone->setParameters(makeValues(fileName, width, height, sync)));
    return *clone;
  }
  void start(main::Command& command) {
    m_Host.overseer.getCommandProcessor()->processCommand(&command, main::CommandProcessor::Queued, true);
  }
  /// Runs the command until `reached`, does what is to end it, and waits until it has returned.
  bool record(main::Command& command, const std::function<bool()>& reached, const std::function<void()>& end) {
    start(command);
    if (!waitUntil(reached)) return false;
    end();
    return m_Host.settle();
  }
  /// Whether the file is there, as it is from a recording's start on.
  std::function<bool()> isThere(const QString& name) const {
    return [file = m_Host.file(name)] { return QFile::exists(file); };
  }
  std::function<bool()> areEncoded(int chunks) const {
    return [this, chunks] { return m_Encoding.chunkCount() >= chunks; };
  }
  QString doneText(const QString& name) const {
    return QStringLiteral("Video '%1' encoding done").arg(m_Host.file(name));
  }
  void setSetting(const QString& key, const QVariant& value) { main::nuboSettings()->setValue(key, value); }
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
  /// Makes every frame of BigSize x BigSize pixels a chunk of its own, to the byte.
  void useSmallestChunks() { setSetting("settings/grabvideotempfilesize", 1); }
  static constexpr int BigSize = 500;

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
