#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <future>
#include <numeric>

#include "module_grab/videohandler.h"
#include "recording.h"

namespace nubo::test {
namespace {

TEST_F(RecordingTest, AClosedPanelAbandonsTheVideoUnlessItWasEnded) {
  useSmallestChunks();
  for (const bool isEnded : {false, true}) {
    SCOPED_TRACE(isEnded);
    m_Encoding.clear();
    m_Log.clear();
    gui::ScenePanel* panel = makePanel(BigSize, BigSize);
    QSemaphore gate;
    m_Encoding.gate = &gate;
    main::Command& command = makeCommand(m_Host.file("a.fake"));
    EXPECT_TRUE(record(command, areEncoded(1), [&] {
      if (isEnded) command.abort();
      EXPECT_TRUE(!isEnded || waitUntil([&] { return !m_Log.messages(log::Note).empty(); }));
      closePanel(panel);
      gate.release(1000000);
    }));
    EXPECT_EQ(m_Log.messages(log::Milestone), Texts{isEnded ? doneText("a.fake") : "Video grabbing aborted"});
    EXPECT_EQ(m_Encoding.aborted, isEnded ? 0 : 1);
    EXPECT_EQ(QFile::exists(m_Host.file("a.fake")), isEnded);
    EXPECT_FALSE(m_RegisteredEnabled);
  }
}

/// Holds the scene still from another thread until it is destroyed, or as long as a test has patience, while a change
/// waits.
class HeldScene {
 public:
  HeldScene() {
    m_Holder = std::async(std::launch::async, [this] {
      const scene::SceneLocker lock(scene::_GlobalScene(), scene::LockAll);
      m_Locked.release();
      m_Held = m_LetGo.tryAcquire(1, Patience);
    });
    m_Locked.tryAcquire(1, Patience);
    m_Change =
        std::async(std::launch::async, [] { const scene::SceneChange change(scene::_GlobalScene(), scene::LockAll); });
  }
  ~HeldScene() { m_LetGo.release(); }
  bool isHeld() const { return m_Held; }

 private:
  QSemaphore m_Locked, m_LetGo;
  std::atomic<bool> m_Held{true};
  std::future<void> m_Holder, m_Change;
};

TEST_F(RecordingTest, AClosingPanelWaitsForNobodyWhoHoldsTheScene) {
  gui::ScenePanel* panel = makePanel();
  main::Command& command = makeCommand(m_Host.file("a.fake"));
  const CommandWatch watch(command);
  ASSERT_TRUE(record(
      command, [&] { return watch.grabbed() > 0; },
      [&] {
        const HeldScene held;
        int before = -1;
        EXPECT_TRUE(waitUntil([&] {  // the next frame waits, too
          QThread::msleep(100);
          return std::exchange(before, watch.grabbed()) == watch.grabbed();
        }));
        closePanel(panel);
        EXPECT_TRUE(held.isHeld());
      }));
  EXPECT_EQ(m_Log.messages(log::Milestone), Texts{"Video grabbing aborted"});
}

TEST_F(RecordingTest, EndsByItselfWhenThePanelIsGone) {
  gui::ScenePanel* panel = makePanel();
  grab::VideoHandler handler;
  std::atomic<int> grabbed{0}, ends{0};
  handler.observeFrames([&](int frames, int) { grabbed = frames; });
  QObject::connect(
      &handler, &grab::VideoHandler::grabbingFinished, &handler, [&] { ++ends; }, Qt::DirectConnection);
  ASSERT_TRUE(handler.start(m_Host.file("a.fake"), 0, 0, panel));
  ASSERT_TRUE(waitUntil([&] { return grabbed > 0; }));
  closePanel(panel);
  EXPECT_TRUE(waitUntil([&] { return ends == 1; }, Patience));
  handler.finish();
  EXPECT_EQ(m_Encoding.frames().size(), std::size_t(grabbed));
}

TEST_F(RecordingTest, RecordsEachPanelAndIntoEachFileOnceAtATime) {
  FakeEncoding others(QStringLiteral("other"));
  gui::ScenePanel* first = makePanel(32, 32);
  main::Command& recorder = makeCommand(m_Host.file("a.fake"));
  start(recorder);
  ASSERT_TRUE(waitUntil(isThere("a.fake")));
  QFile::resize(m_Host.file("a.fake"), 7);
  ASSERT_TRUE(m_Host.run(makeCommand(m_Host.file("b.fake"))));
  makePanel(48, 48);
  EXPECT_TRUE(m_RegisteredEnabled);
  ASSERT_TRUE(QFile::link(m_Host.file("a.fake"), m_Host.file("link.other")));
  ASSERT_TRUE(m_Host.run(makeCommand(m_Host.file("link.other"))));
  const auto refusal = [this](const char* name) {
    return QStringLiteral("Another recording is writing the file '%1'").arg(m_Host.file(name));
  };
  EXPECT_EQ(m_Log.messages(log::Failure),
            (Texts{"Video grabbing is currently running on that scene window", refusal("link.other")}));
  EXPECT_EQ(QFileInfo(m_Host.file("a.fake")).size(), 7);

  main::Command& other = makeCommand(m_Host.file("c.other"));
  start(other);
  ASSERT_TRUE(waitUntil(isThere("c.other")));
  m_Host.viewer.setActivePanel(first);
  EXPECT_FALSE(m_RegisteredEnabled);
  recorder.abort();
  ASSERT_TRUE(waitUntil([&] { return m_Encoding.finished == 1; }));
  EXPECT_EQ(others.finished, 0);
  other.abort();
  ASSERT_TRUE(m_Host.settle());
  EXPECT_EQ(m_Encoding.width, 32);
  EXPECT_EQ(others.width, 48);
  EXPECT_TRUE(m_RegisteredEnabled);

  // Another program has it.
  m_Log.clear();
  const int descriptor = open(QFile::encodeName(m_Host.file("a.fake")), O_RDONLY);
  ASSERT_EQ(flock(descriptor, LOCK_EX | LOCK_NB), 0) << "what has ended gives the file free";
  ASSERT_TRUE(m_Host.run(makeCommand(m_Host.file("a.fake"))));
  close(descriptor);
  EXPECT_EQ(m_Log.messages(), Texts{refusal("a.fake")});
  EXPECT_EQ(QFileInfo(m_Host.file("a.fake")).size(), 7);
}

TEST_F(RecordingTest, TwoPanelsInStepEachShowTheirOwn) {
  constexpr int Steps = 60, Size = 128;
  const SteppedScene scene(Steps);
  scene.selectPoints(0);
  FakeEncoding others(QStringLiteral("other"));
  QSemaphore secondGoes;
  const auto onPercent = [](main::Command& command, const std::function<void(int)>& slot) {
    QObject::connect(command.monitor(), &main::CommandMonitor::processedChanged, command.monitor(), slot,
                     Qt::DirectConnection);
  };
  makePanel(Size, Size);
  main::Command& first = makeCommand(m_Host.file("a.fake"), 0, 0, true);
  onPercent(first, [&](int percent) {
    if (percent == 10) secondGoes.tryAcquire(1, Patience);
  });
  start(first);
  ASSERT_TRUE(waitUntil(isThere("a.fake")));
  makePanel(Size, Size);
  main::Command& second = makeCommand(m_Host.file("b.other"), 0, 0, true);
  onPercent(second, [&](int percent) {
    if (percent >= 0) secondGoes.release();
  });
  start(second);
  ASSERT_TRUE(m_Host.settle());
  for (const FakeEncoding* encoding : {&m_Encoding, &others}) {
    const std::vector<int> shown = scene.stepsShown(*encoding, Size);
    ASSERT_GT(shown.size(), std::size_t(Steps / 2));
    std::vector<int> own(shown.size());
    std::iota(own.begin(), own.end(), Steps - int(shown.size()));
    EXPECT_EQ(shown, own);
  }
  EXPECT_EQ(m_Encoding.frames().size(), std::size_t(Steps));
}

TEST_F(RecordingTest, FollowsThePanelsCamera) {
  const SteppedScene scene(4);
  gui::ScenePanel* panel = makePanel(BigSize, BigSize);
  useSmallestChunks();
  scene.selectMatrices(3);
  main::Command& command = makeCommand(m_Host.file("a.fake"));
  ASSERT_TRUE(record(command, areEncoded(1), [&] {
    gui::Camera camera = panel->getCamera();
    camera.azimuth = 180;  // the bar's right edge is now its left one
    panel->setCamera(camera);
    EXPECT_TRUE(waitUntil(areEncoded(m_Encoding.chunkCount() + 3)));
    command.abort();
  }));
  const auto frames = m_Encoding.frames();
  const auto covers = [](const QByteArray& frame, int x) {
    return uchar(frame[(BigSize / 4 * BigSize + x) * 4 + 3]) == 255;
  };
  EXPECT_TRUE(covers(frames.front(), 10));
  EXPECT_FALSE(covers(frames.back(), 10));
  EXPECT_TRUE(covers(frames.back(), BigSize - 10));
}

}  // namespace
}  // namespace nubo::test
