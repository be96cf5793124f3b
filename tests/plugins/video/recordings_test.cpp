// Whole recordings, from the command to the finished file, with the plug-ins as they are: what the file shows, and
// how a recording ends that goes wrong.
#include <gmock/gmock.h>

#include <QSettings>

#include "module_grab/recording.h"
#include "support/limit.h"
#include "support/quad.h"
#include "testvideo.h"

namespace nubo::test {
namespace {

using testing::IsEmpty;

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
      m_Bars.emplace_back(new scene::SceneElement(QString::number(bit)));
      m_Bars.back()->addGeometry(quad({left, 0, bottom, right, 0, bottom, right, 0, top, left, 0, top}, {1, 1, 1, 1}));
      m_Root->addChild(m_Bars.back());
    }
    scene::_GlobalScene()->setSamples(0);
    gui::Viewer::getInstance()->getGlobalScene()->setBackground({Qt::black});
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

  NumberedScene m_Scene{13};
  Plugins m_Plugins;
  const std::vector<int> m_AllSteps{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
};

class EveryFormat : public WholeRecordings, public testing::WithParamInterface<std::pair<const char*, bool>> {};
INSTANTIATE_TEST_SUITE_P(All, EveryFormat,
                         testing::Values(std::pair("mp4", false), std::pair("mkv", true), std::pair("webm", false),
                                         std::pair("mov", true), std::pair("avi", false), std::pair("gif", true),
                                         std::pair("y4m", false)),
                         [](const auto& info) { return info.param.first; });

TEST_P(EveryFormat, ShowsEveryStepInOneFrame) {
  const auto& [extension, inOneFile] = GetParam();  // or in chunks of four frames in memory
  setSetting("settings/grabvideofps", 20);
  setSetting("settings/grabvideotempfilesize", inOneFile ? 1000 : 1);
  setSetting("settings/grabvideousememoryasbuffer", !inOneFile);
  const QString name = m_Host.file(QStringLiteral("steps.") + extension);
  ASSERT_TRUE(record(name));
  EXPECT_THAT(failures(), IsEmpty());
  const auto properties = probe(name);
  EXPECT_EQ(properties["r_frame_rate"], "20/1");
  EXPECT_EQ(properties["width"].toInt(), width);
  EXPECT_EQ(properties["height"].toInt(), height);
  EXPECT_EQ(numbersIn(name), m_AllSteps);
  EXPECT_EQ(temporaryFiles(), 0);
}

TEST_F(WholeRecordings, KeepTheFramesThatTheTemporaryDiskHasRoomFor) {
  constexpr int Room = 2 * frameSize + 1000;
  useFileChunks();
  const QString name = m_Host.file("video.mp4");
  {
    const Limit fileSize(RLIMIT_FSIZE, Room);
    ASSERT_TRUE(record(name));
  }
  std::vector<std::string> expected(m_AllSteps.size() - 2,
                                    "Couldn't write " + std::to_string(frameSize) + " bytes to temporary file");
  expected.front() = "Couldn't write " + std::to_string(frameSize - 1000) + " bytes to temporary file";
  expected.emplace_back("The chunk holds an incomplete frame, its last 1000 bytes are left out");
  EXPECT_EQ(failures(), expected);
  EXPECT_EQ(numbersIn(name), (std::vector<int>{0, 1}));
  EXPECT_EQ(temporaryFiles(), 0);
  ASSERT_TRUE(record(name));
  EXPECT_EQ(numbersIn(name), m_AllSteps);
}

}  // namespace
}  // namespace nubo::test
