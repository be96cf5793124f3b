// Whole recordings, from the command to the finished file, with the plug-ins as they are: what the file shows, and
// how a recording ends that goes wrong.
#include <gmock/gmock.h>

#include <QSettings>
#include <QTemporaryDir>
#include <QtEndian>
#include <numeric>

#include "module_grab/recording.h"
#include "module_scene/mesh/preparation.h"
#include "testvideo.h"

namespace nubo::test {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

/// A picture that spells its step like rawFrame(): in bars that stand in front of a black background, or far away.
class NumberedScene {
 public:
  explicit NumberedScene(int steps) : m_Steps(steps), m_Root(new scene::SceneElement(QStringLiteral("number"))) {
    const double halfHeight = 3 * std::tan(M_PI / 8);  // of the view at the bars' distance
    const double halfWidth = halfHeight * width / height;
    const auto bottom = float(-halfHeight);
    const auto top = float((1 - 4.0 * patchSize / height) * halfHeight);
    for (int bit = 0; bit < Bits; ++bit) {
      const auto left = float((2.0 * bit / Bits - 1) * halfWidth);
      const auto right = float((2.0 * (bit + 1) / Bits - 1) * halfWidth);
      auto* bar = new scene::Geometry;
      bar->positions = {left, 0, bottom, right, 0, bottom, right, 0, top, left, 0, top};
      bar->indices = {0, 1, 2, 0, 2, 3};
      bar->material = new scene::Material;
      bar->material->diffuse = {1, 1, 1, 1};
      bar->material->lit = false;
      prepare(*bar);
      m_Bars.emplace_back(new scene::SceneElement(QString::number(bit)));
      m_Bars.back()->addGeometry(bar);
      m_Root->addChild(m_Bars.back());
    }
    scene::_GlobalScene()->setSamples(0);
    gui::Viewer::getInstance()->getGlobalScene()->setBackgroundColor(Qt::black);
    gui::Viewer::getInstance()->getGlobalScene()->setRootNode(m_Root);
  }
  ~NumberedScene() {
    trajectory::TrajectoryHandler::getInstance()->clear();
    gui::Viewer::getInstance()->getGlobalScene()->setRootNode(nullptr);
  }

  void select() const {
    auto steps = std::make_unique<std::deque<trajectory::MatrixMap>>(std::size_t(m_Steps));
    for (int step = 0; step < m_Steps; ++step)
      for (int bit = 0; bit < Bits; ++bit)
        (*steps)[std::size_t(step)][m_Bars[std::size_t(bit)]] = math::translation(step >> bit & 1 ? 0 : 1000, 0, 0);
    trajectory::TrajectoryHandler::getInstance()->select(
        std::make_unique<trajectory::AdvancedTrajectoryInfo>(std::move(steps)));
  }

 private:
  static constexpr int Bits = 8;
  int m_Steps;
  util::YPointer<scene::SceneElement> m_Root;
  std::vector<util::YPointer<scene::SceneElement>> m_Bars;
};

class WholeRecordings : public RecordingTest {
 protected:
  static constexpr int Steps = 13;

  void SetUp() override {
    ASSERT_TRUE(m_Plugins.isRegistered());
    makePanel(width, height);
  }

  /// Every step of the scene, at an odd size that is to grow.
  bool record(const QString& fileName) {
    m_Log.clear();
    m_Scene.select();
    return m_Host.run(makeCommand(fileName, width - 1, height - 1, true));
  }
  std::vector<std::string> failures() const {
    std::vector<std::string> texts;
    for (const QString& message : m_Log.messages(log::Failure)) texts.push_back(message.toStdString());
    return texts;
  }
  static std::vector<int> stepsIn(const QString& fileName) {
    std::vector<int> steps;
    const QByteArray frames = decode(fileName);
    for (int at = 0; at < frames.size(); at += frameSize) steps.push_back(numberIn(frames.mid(at, frameSize)));
    return steps;
  }

  NumberedScene m_Scene{Steps};
  Plugins m_Plugins;
  const std::vector<int> m_AllSteps = [] {
    std::vector<int> steps(Steps);
    std::iota(steps.begin(), steps.end(), 0);
    return steps;
  }();
};

TEST_F(WholeRecordings, ShowEveryStepInOneFrame) {
  constexpr int Fps = 20;
  setSetting("settings/grabvideofps", Fps);
  for (const auto& [extension, description] : *grab::video::VideoEncoder::getInstance()->getLoadableFiles()) {
    if (extension == "FAKE") continue;
    for (const int megabytes : {1, 1000})  // four frames a chunk, or all
      for (const bool inMemory : {true, false}) {
        SCOPED_TRACE(extension.toStdString() + ' ' + std::to_string(megabytes) + (inMemory ? " memory" : " files"));
        setSetting("settings/grabvideotempfilesize", megabytes);
        setSetting("settings/grabvideousememoryasbuffer", inMemory);
        const QString name = m_Host.file("steps." + extension.toLower());
        ASSERT_TRUE(record(name));
        EXPECT_THAT(failures(), IsEmpty());
        const auto properties = probe(name);
        EXPECT_EQ(properties["nb_read_frames"].toInt(), Steps);
        EXPECT_EQ(properties["r_frame_rate"], QString("%1/1").arg(Fps));
        EXPECT_EQ(properties["width"].toInt(), width);
        EXPECT_EQ(properties["height"].toInt(), height);
        EXPECT_EQ(stepsIn(name), m_AllSteps);
        EXPECT_EQ(temporaryFiles(), 0);
      }
  }
}

TEST_F(WholeRecordings, EndInTheDisksWordsWhenItIsFull) {
  useSmallestChunks();
  useFileChunks();
  for (const char* extension : {"mp4", "mkv", "gif", "y4m"}) {
    SCOPED_TRACE(extension);
    const QString full = m_Host.file(QString("full.") + extension);
    ASSERT_TRUE(QFile::link("/dev/full", full));
    ASSERT_TRUE(record(full));
    EXPECT_THAT(failures(), UnorderedElementsAre(HasSubstr("No space left on device"), "Couldn't encode chunk!"));
    EXPECT_EQ(temporaryFiles(), 0);
    const QString next = m_Host.file(QString("next.") + extension);
    ASSERT_TRUE(record(next));
    EXPECT_EQ(stepsIn(next), m_AllSteps);
  }
}

TEST_F(WholeRecordings, KeepTheFramesThatTheTemporaryDiskHasRoomFor) {
  constexpr int Room = 2 * frameSize + 1000;
  useFileChunks();
  const QString name = m_Host.file("video.mp4");
  {
    const Limit fileSize(RLIMIT_FSIZE, Room);
    ASSERT_TRUE(record(name));
  }
  std::vector<std::string> expected(Steps - 2,
                                    "Couldn't write " + std::to_string(frameSize) + " bytes to temporary file");
  expected.front() = "Couldn't write " + std::to_string(frameSize - 1000) + " bytes to temporary file";
  expected.emplace_back("The chunk holds an incomplete frame, its last 1000 bytes are left out");
  EXPECT_EQ(failures(), expected);
  EXPECT_EQ(stepsIn(name), (std::vector<int>{0, 1}));
  EXPECT_EQ(temporaryFiles(), 0);
  ASSERT_TRUE(record(name));
  EXPECT_EQ(stepsIn(name), m_AllSteps);
}

TEST_F(WholeRecordings, FindNoEncoderWhereTheCodecsCannotBeLoaded) {
  // Alone, without the library that it loads.
  const QString alone = m_Host.file("libvideo_alone.so");
  ASSERT_TRUE(QFile::copy(NUBO_TEST_BIN_DIR "/plugins/video/libvideo_av.so", alone));
  delete grab::video::VideoEncoder::getInstance();
  m_Log.clear();
  QLibrary library(alone);
  const auto doRegister = reinterpret_cast<bool (*)()>(library.resolve("doRegister"));
  ASSERT_TRUE(doRegister) << library.errorString().toStdString();
  doRegister();
  ASSERT_TRUE(m_Host.run(makeCommand(m_Host.file("a.mp4"))));
  EXPECT_THAT(failures(),
              UnorderedElementsAre(HasSubstr("libvideo_av_codecs"),
                                   "No encoder for file '" + m_Host.file("a.mp4").toStdString() + "' found"));
}

/// The complete fragments of an MP4 file that is being written.
int fragmentsIn(const QString& fileName) {
  QFile file(fileName);
  if (!file.open(QIODevice::ReadOnly)) return 0;
  const QByteArray bytes = file.readAll();
  int fragments = 0;
  for (qint64 at = 0; at + 8 <= bytes.size();) {
    const auto size = qFromBigEndian<quint32>(bytes.constData() + at);
    fragments += bytes.mid(int(at) + 4, 4) == "mdat" && at + size <= bytes.size();
    at += size;
  }
  return fragments;
}

TEST(KilledProgram, LeavesAnMp4ThatPlaysUpToTheLastFinishedChunk) {
  const QTemporaryDir directory;
  const QString settings = directory.filePath("nubo.ini");
  const QString name = directory.filePath("a.mp4");
  QSettings(settings, QSettings::IniFormat).setValue("settings/grabvideotempfilesize", 1);
  QProcess program;
  program.start(NUBO_TEST_BIN_DIR "/nubo",
                {"--settings", settings, "builtin", "grabvideo", "--filename", name, "--width", QString::number(width),
                 "--height", QString::number(height), "--sync", "0"});
  ASSERT_TRUE(waitUntil([&] { return fragmentsIn(name) >= 4 || program.state() == QProcess::NotRunning; }));
  kill(pid_t(program.processId()), SIGKILL);
  ASSERT_TRUE(program.waitForFinished());
  EXPECT_EQ(program.exitStatus(), QProcess::CrashExit);
  // Four frames are a chunk, and a fragment; nothing calls for a key frame among the first ones of a still scene.
  EXPECT_GE(probe(name)["nb_read_frames"].toInt(), 4 * 4);
  EXPECT_GE(decode(name).size(), 4 * 4 * frameSize);
}

}  // namespace
}  // namespace nubo::test
