#include <malloc.h>

#include <QFileDialog>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLExtraFunctions>
#include <algorithm>
#include <numeric>
#include <thread>

#include "kernel/util/delegate.h"
#include "module_grab/freememory.h"
#include "recording.h"

static std::atomic<bool> g_MemoryIsShort{false};  // no more is free than the smallest chunk takes

// Stands before the module's own function.
std::uint64_t nubo::grab::freeMemory() { return g_MemoryIsShort ? 1000000 : std::uint64_t(1) << 40; }

namespace nubo::test {
namespace {

using ::testing::Test;

TEST_F(RecordingTest, EncodesWhatWasRecordedUntilTheAbort) {
  makePanel(BigSize, BigSize);
  useSmallestChunks();
  EXPECT_TRUE(m_RegisteredEnabled);
  main::Command& command = makeCommand(m_Host.file("a.fake"));
  EXPECT_FALSE(m_RegisteredEnabled);
  std::vector<QString> texts;
  QMutex mutex;
  QObject::connect(
      command.monitor(), &main::CommandMonitor::textChanged, command.monitor(),
      [&](const QString& text) {
        const QMutexLocker locker(&mutex);
        texts.push_back(text);
      },
      Qt::DirectConnection);

  std::string detail;
  QObject::connect(
      command.monitor(), &main::CommandMonitor::detailChanged, command.monitor(),
      [&](const QString& figures) {
        const QMutexLocker locker(&mutex);
        detail = figures.toStdString();
      },
      Qt::DirectConnection);

  start(command);
  ASSERT_TRUE(waitUntil([&] { return m_Encoding.chunkCount() >= 3; }));
  m_Host.overseer.getCommandProcessor()->abortAll();
  ASSERT_TRUE(m_Host.settle());

  EXPECT_EQ(texts, (std::vector<QString>{"RAW-Video grabbing started", "Video encoding started"}));
  EXPECT_EQ(m_Log.messages(log::Note), std::vector<QString>{"Video encoding started"});
  EXPECT_EQ(m_Log.messages(log::Milestone),
            std::vector<QString>{QStringLiteral("Video '%1' encoding done").arg(m_Host.file("a.fake"))});
  EXPECT_EQ(m_Log.messages(log::Failure), std::vector<QString>{});
  EXPECT_TRUE(m_RegisteredEnabled);

  const std::string frames = std::to_string(m_Encoding.frames().size());
  EXPECT_EQ(detail, frames + " frames, " + frames + " encoded");
  const auto chunks = m_Encoding.chunks();
  for (std::size_t i = 0; i < chunks.size(); ++i) {
    const bool last = i + 1 == chunks.size();
    EXPECT_EQ(chunks[i].last, last);
    EXPECT_TRUE(chunks[i].isMemory);
    EXPECT_EQ(last || chunks[i].size == BigSize * BigSize * 4, true);
  }
  EXPECT_EQ(m_Encoding.finished, 1);
  EXPECT_EQ(m_Encoding.aborted, 0);
  EXPECT_EQ(m_Encoding.alive, 0);
  EXPECT_EQ(m_Encoding.fps, 25);
  EXPECT_EQ(m_Encoding.bitrate, 1200000);
  EXPECT_TRUE(QFile::exists(m_Host.file("a.fake")));

  command.abort();  // late: nothing to end
  EXPECT_EQ(m_Log.messages(log::Milestone).size(), 1u);
}

struct Refusal {
  const char* name;
  int width, height;
  const char* file;
  int level;
  QString message;  // empty: taken
};

TEST_F(RecordingTest, RefusesWhatItCannotRecord) {
  const Refusal Refusals[] = {
      {"narrow", 15, 480, "a.fake", log::Failure, "Selected width or height is to small (min. 16)"},
      {"flat", 480, 1, "a.fake", log::Failure, "Selected width or height is to small (min. 16)"},
      {"nobody's extension", 16, 16, "a.other", log::Failure,
       QStringLiteral("No encoder for file '%1' found").arg(m_Host.file("a.other"))},
      {"no extension", 16, 16, "a", log::Failure,
       QStringLiteral("No encoder for file '%1' found").arg(m_Host.file("a"))},
  };
  for (const Refusal& refusal : Refusals) {
    SCOPED_TRACE(refusal.name);
    m_Log.clear();
    makePanel();
    main::Command& command = makeCommand(m_Host.file(refusal.file), refusal.width, refusal.height);
    ASSERT_TRUE(m_Host.run(command));
    EXPECT_EQ(m_Log.messages(refusal.level), std::vector<QString>{refusal.message});
    EXPECT_EQ(m_Log.messages(log::Milestone), std::vector<QString>{});
    EXPECT_TRUE(m_RegisteredEnabled);
    EXPECT_FALSE(QFile::exists(m_Host.file(refusal.file)));
  }
  // A handler that could not start has been asked to: the directory is remembered.
  EXPECT_EQ(main::nuboSettings()->value("lastGrabVideoDirectory").toString(), m_Host.directory.path());

  m_Log.clear();
  main::Command& command = makeCommand(m_Host.file("a.fake"));
  m_Host.viewer.setActivePanel(nullptr);
  EXPECT_FALSE(m_RegisteredEnabled);
  ASSERT_TRUE(m_Host.run(command));
  EXPECT_EQ(m_Log.messages(log::Failure), std::vector<QString>{"There is no active scene window selected"});
  EXPECT_EQ(m_Encoding.finished, 0);
}

int maxTextureSize() {
  QOffscreenSurface surface;
  surface.create();
  QOpenGLContext context;
  GLint size = 0;
  if (context.create() && context.makeCurrent(&surface)) glGetIntegerv(GL_MAX_TEXTURE_SIZE, &size);
  return size;
}

TEST_F(RecordingTest, RecordsAtTheSizeAskedForMadeEven) {
  const int limit = maxTextureSize();
  ASSERT_GT(limit, 0);
  struct Row {
    int width, height, expectedWidth, expectedHeight;
  };
  for (const Row& row : {Row{16, 17, 16, 18}, Row{641, 479, 642, 480}, Row{0, 480, 90, 70}, Row{480, 0, 90, 70},
                         Row{limit, 16, limit, 16}}) {
    SCOPED_TRACE(row.width);
    makePanel(89, 70);
    main::Command& command = makeCommand(m_Host.file("a.fake"), row.width, row.height);
    m_Encoding.clear();
    start(command);
    ASSERT_TRUE(waitUntil([&] { return QFile::exists(m_Host.file("a.fake")); }));
    command.abort();
    ASSERT_TRUE(m_Host.settle());
    EXPECT_EQ(m_Encoding.width, row.expectedWidth);
    EXPECT_EQ(m_Encoding.height, row.expectedHeight);
    QFile::remove(m_Host.file("a.fake"));
  }
  m_Log.clear();
  makePanel();
  ASSERT_TRUE(m_Host.run(makeCommand(m_Host.file("a.fake"), 16, limit + 1)));
  EXPECT_EQ(m_Log.messages(log::Failure),
            std::vector<QString>{
                QStringLiteral("You can not grab videos with size 16 x %1 because your max. texture size is %2")
                    .arg(limit + 2 - limit % 2)
                    .arg(limit)});
}

TEST_F(RecordingTest, SettingsReachTheEncoder) {
  setSetting("settings/grabvideofps", 30);
  setSetting("settings/grabvideokbps", 5000);
  useFileChunks();
  useSmallestChunks();
  makePanel(BigSize, BigSize);
  main::Command& command = makeCommand(m_Host.file("a.fake"));
  start(command);
  ASSERT_TRUE(waitUntil([&] { return m_Encoding.chunkCount() >= 2; }));
  command.abort();
  ASSERT_TRUE(m_Host.settle());
  EXPECT_EQ(m_Encoding.fps, 30);
  EXPECT_EQ(m_Encoding.bitrate, 5000000);
  for (const EncodedChunk& chunk : m_Encoding.chunks()) EXPECT_FALSE(chunk.isMemory);
  EXPECT_EQ(temporaryFiles(), 0);
}

TEST_F(RecordingTest, GoesOverIntoFilesWhileMemoryIsShortAndLosesNoFrame) {
  makePanel(BigSize, BigSize);
  useSmallestChunks();
  QSemaphore gate;  // an encoder that does not keep up at all
  m_Encoding.gate = &gate;
  main::Command& command = makeCommand(m_Host.file("a.fake"));
  std::atomic<int> grabbed{0};
  QObject::connect(
      command.monitor(), &main::CommandMonitor::detailChanged, command.monitor(),
      [&](const QString& figures) { grabbed = figures.section(' ', 0, 0).toInt(); }, Qt::DirectConnection);
  start(command);
  for (const auto& [frames, isShort] : {std::pair(3, true), std::pair(8, false)}) {
    ASSERT_TRUE(waitUntil([&, atLeast = frames] { return grabbed >= atLeast; }));
    g_MemoryIsShort = isShort;
  }
  ASSERT_TRUE(waitUntil([&] { return grabbed >= 12; }));
  EXPECT_GT(temporaryFiles(), 2);
  command.abort();
  gate.release(1000);
  ASSERT_TRUE(m_Host.settle());

  EXPECT_EQ(m_Log.messages(log::Failure), std::vector<QString>{});
  std::vector<bool> changes;
  for (const EncodedChunk& chunk : m_Encoding.chunks())
    if (changes.empty() || changes.back() != chunk.isMemory) changes.push_back(chunk.isMemory);
  EXPECT_EQ(changes, (std::vector<bool>{true, false, true}));
  EXPECT_EQ(int(m_Encoding.frames().size()), grabbed);
  EXPECT_EQ(temporaryFiles(), 0);
}

TEST_F(RecordingTest, AFrameIsBlueGreenRedAlphaFromTheTop) {
  const SteppedScene scene(1);
  scene.selectMatrices(0);
  makePanel();
  ASSERT_TRUE(m_Host.run(makeCommand(m_Host.file("a.fake"), 64, 64, true)));
  const auto frames = m_Encoding.frames();
  ASSERT_EQ(frames.size(), 1u);
  const QColor background = m_Host.viewer.getGlobalScene()->getBackgroundColor();
  const auto pixel = [&](int x, int y) { return frames[0].mid((y * 64 + x) * 4, 4).toHex(); };
  EXPECT_EQ(pixel(10, 10), "0000ffff");
  const char expected[] = {char(background.blue()), char(background.green()), char(background.red()), 0};
  EXPECT_EQ(pixel(10, 50), QByteArray(expected, 4).toHex());
}

TEST_F(RecordingTest, AClosedPanelAbandonsTheVideo) {
  gui::ScenePanel* panel = makePanel(BigSize, BigSize);
  useSmallestChunks();
  main::Command& command = makeCommand(m_Host.file("a.fake"));
  start(command);
  ASSERT_TRUE(waitUntil([&] { return m_Encoding.chunkCount() >= 1; }));
  closePanel(panel);
  ASSERT_TRUE(m_Host.settle());
  EXPECT_EQ(m_Log.messages(log::Milestone), std::vector<QString>{"Video grabbing aborted"});
  EXPECT_EQ(m_Encoding.aborted, 1);
  EXPECT_FALSE(QFile::exists(m_Host.file("a.fake")));
  EXPECT_FALSE(m_RegisteredEnabled);

  // Later than the abort, while the video is being encoded, closing the panel changes nothing any more.
  m_Log.clear();
  panel = makePanel(BigSize, BigSize);
  QSemaphore gate;
  m_Encoding.gate = &gate;
  main::Command& second = makeCommand(m_Host.file("b.fake"));
  start(second);
  ASSERT_TRUE(waitUntil([&] { return QFile::exists(m_Host.file("b.fake")); }));
  second.abort();
  ASSERT_TRUE(waitUntil([&] { return !m_Log.messages(log::Note).empty(); }));
  closePanel(panel);
  gate.release(1000000);
  ASSERT_TRUE(m_Host.settle());
  EXPECT_EQ(m_Log.messages(log::Milestone),
            std::vector<QString>{QStringLiteral("Video '%1' encoding done").arg(m_Host.file("b.fake"))});
  EXPECT_TRUE(QFile::exists(m_Host.file("b.fake")));
}

TEST_F(RecordingTest, RecordsEachPanelOnceAtATime) {
  FakeEncoding others(QStringLiteral("other"));
  gui::ScenePanel* first = makePanel(32, 32);
  main::Command& recorder = makeCommand(m_Host.file("a.fake"));
  start(recorder);
  ASSERT_TRUE(waitUntil([&] { return QFile::exists(m_Host.file("a.fake")); }));
  main::Command& again = makeCommand(m_Host.file("b.fake"));
  ASSERT_TRUE(m_Host.run(again));
  EXPECT_EQ(m_Log.messages(log::Failure),
            std::vector<QString>{"Video grabbing is currently running on that scene window"});

  makePanel(48, 48);
  EXPECT_TRUE(m_RegisteredEnabled);
  main::Command& other = makeCommand(m_Host.file("c.other"));
  start(other);
  ASSERT_TRUE(waitUntil([&] { return QFile::exists(m_Host.file("c.other")); }));
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
}

TEST_F(RecordingTest, CallsOutsideARecordingDoNothing) {
  makePanel();
  mp_Registered->abort();
  main::Command& command = makeCommand(m_Host.file("a.fake"));
  command.abort();  // before it runs
  start(command);
  ASSERT_TRUE(waitUntil([&] { return QFile::exists(m_Host.file("a.fake")); }));
  EXPECT_EQ(m_Log.messages(log::Note), std::vector<QString>{});
  command.abort();
  command.abort();
  ASSERT_TRUE(m_Host.settle());
  EXPECT_EQ(m_Log.messages(log::Milestone).size(), 1u);
}

TEST_F(RecordingTest, WaitsForAnEndWhenThereIsNoFirstChunk) {
  makePanel();
  useFileChunks();
  qputenv("TMPDIR", m_Host.file("missing").toLocal8Bit());
  main::Command& command = makeCommand(m_Host.file("a.fake"));
  start(command);
  ASSERT_TRUE(waitUntil([&] { return !m_Log.messages(log::Failure).empty(); }));
  EXPECT_EQ(m_Log.messages(log::Failure), std::vector<QString>{"Couldn't open temporary file"});
  EXPECT_TRUE(m_Host.overseer.getCommandProcessor()->isRunning());
  command.abort();
  ASSERT_TRUE(m_Host.settle());
  EXPECT_EQ(m_Encoding.chunkCount(), 0);
  EXPECT_EQ(m_Encoding.finished, 1);
}

TEST_F(RecordingTest, EndsByItselfWhenThereIsNoFurtherChunk) {
  makePanel(BigSize, BigSize);
  useFileChunks();
  useSmallestChunks();
  ASSERT_TRUE(QDir().mkdir(m_Host.file("temporary")));
  qputenv("TMPDIR", m_Host.file("temporary").toLocal8Bit());
  main::Command& command = makeCommand(m_Host.file("a.fake"));
  start(command);
  ASSERT_TRUE(waitUntil([&] { return m_Encoding.chunkCount() >= 1; }));
  ASSERT_TRUE(QDir().rename(m_Host.file("temporary"), m_Host.file("elsewhere")));
  ASSERT_TRUE(m_Host.settle());
  EXPECT_EQ(m_Log.messages(log::Failure), std::vector<QString>{"Couldn't open temporary file"});
  EXPECT_TRUE(m_Encoding.chunks().back().isNull);
  EXPECT_TRUE(m_Encoding.chunks().back().last);
  EXPECT_EQ(m_Log.messages(log::Milestone).size(), 1u);
}

TEST_F(RecordingTest, AnEncoderThatFailsEndsNothingButItself) {
  useSmallestChunks();
  for (const bool first : {true, false}) {
    SCOPED_TRACE(first);
    m_Encoding.clear();
    m_Encoding.refuse = first;
    m_Encoding.failAtChunk = first ? -1 : 1;
    m_Log.clear();
    makePanel(BigSize, BigSize);
    main::Command& command = makeCommand(m_Host.file("a.fake"));
    start(command);
    ASSERT_TRUE(waitUntil([&] { return !m_Log.messages(log::Failure).empty(); }));
    EXPECT_TRUE(m_Host.overseer.getCommandProcessor()->isRunning());
    command.abort();
    ASSERT_TRUE(m_Host.settle());
    EXPECT_EQ(m_Log.messages(log::Failure),
              std::vector<QString>{first ? "Couldn't initialize video encoding" : "Couldn't encode chunk!"});
    EXPECT_EQ(m_Encoding.finished, 1);
    EXPECT_EQ(m_Encoding.alive, 0);
  }
}

TEST_F(RecordingTest, TheProgramsEndHasTheVideoEncoded) {
  makePanel();
  main::Command& command = makeCommand(m_Host.file("a.fake"));
  start(command);
  ASSERT_TRUE(waitUntil([&] { return QFile::exists(m_Host.file("a.fake")); }));
  m_Host.overseer.getCommandProcessor()->shutDown();
  EXPECT_EQ(m_Log.messages(log::Milestone),
            std::vector<QString>{QStringLiteral("Video '%1' encoding done").arg(m_Host.file("a.fake"))});
}

struct SyncedRow {
  const char* name;
  int position;
  std::vector<int> steps;
  std::vector<int> progress;  // of the grabbing
  bool replaced = false;      // another trajectory is selected at half of it
};

TEST_F(RecordingTest, EveryStepIsOneFrame) {
  constexpr int Steps = 10;
  const SyncedRow Rows[] = {
      {"all", 0, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9}, {0, 10, 20, 30, 40, 50, 60, 70, 80, 90}},
      {"from the middle", 7, {7, 8, 9}, {70, 80, 90}},
      {"from the last", 9, {9}, {90}},
      {"its own to the end", 4, {4, 5, 6, 7, 8, 9}, {40, 50, 60, 70, 80, 90}, true},
  };
  const SteppedScene scene(Steps);
  for (const bool matrices : {false, true})
    for (const bool bigFrames : {false, true})
      for (const SyncedRow& row : Rows) {
        SCOPED_TRACE(row.name);
        const int size = bigFrames ? BigSize : 64;  // a chunk for each, or one for all
        useSmallestChunks();
        m_Encoding.clear();
        makePanel(size, size);
        matrices ? scene.selectMatrices(row.position) : scene.selectPoints(row.position);
        main::Command& command = makeCommand(m_Host.file("a.fake"), 0, 0, true);
        std::vector<int> progress;
        QMutex mutex;
        const auto note = [&](int percent) {
          const QMutexLocker locker(&mutex);
          if (m_Log.messages(log::Note).empty() && percent >= 0) progress.push_back(percent);
          if (row.replaced && percent == 50)
            util::WorkerDelegate::invokeSync(
                new util::FunctionDelegate([&] { matrices ? scene.selectPoints(0) : scene.selectMatrices(0); }));
        };
        QObject::connect(command.monitor(), &main::CommandMonitor::processedChanged, command.monitor(), note,
                         Qt::DirectConnection);
        m_Log.clear();
        ASSERT_TRUE(m_Host.run(command));
        std::vector<int> shown;
        for (const QByteArray& frame : m_Encoding.frames()) shown.push_back(scene.stepShown(frame, size));
        EXPECT_EQ(shown, row.steps);
        EXPECT_EQ(progress, row.progress);
        EXPECT_EQ(m_Encoding.chunkCount(), bigFrames ? int(row.steps.size()) : 1);
        const auto* handler = trajectory::TrajectoryHandler::getInstance();
        EXPECT_EQ(matrices != row.replaced ? handler->getAdvancedTrajectoryInfo()->getPosition()
                                           : handler->getTrajectoryInfo()->getPosition(),
                  std::uint64_t(row.replaced ? 0 : Steps - 1));
      }
}

TEST_F(RecordingTest, TwoPanelsInStepEachShowTheirOwn) {
  constexpr int Steps = 60, Size = 128;
  const SteppedScene scene(Steps);
  scene.selectPoints(0);
  FakeEncoding others(QStringLiteral("other"));
  QSemaphore secondGoes;
  makePanel(Size, Size);
  main::Command& first = makeCommand(m_Host.file("a.fake"), 0, 0, true);
  QObject::connect(
      first.monitor(), &main::CommandMonitor::processedChanged, first.monitor(),
      [&](int percent) {
        if (percent == 10) secondGoes.tryAcquire(1, 10000);
      },
      Qt::DirectConnection);
  start(first);
  ASSERT_TRUE(waitUntil([&] { return QFile::exists(m_Host.file("a.fake")); }));
  makePanel(Size, Size);
  main::Command& second = makeCommand(m_Host.file("b.other"), 0, 0, true);
  QObject::connect(
      second.monitor(), &main::CommandMonitor::processedChanged, second.monitor(),
      [&](int percent) {
        if (percent >= 0) secondGoes.release();
      },
      Qt::DirectConnection);
  start(second);
  ASSERT_TRUE(m_Host.settle());
  for (const FakeEncoding* encoding : {&m_Encoding, &others}) {
    std::vector<int> shown;
    for (const QByteArray& frame : encoding->frames()) shown.push_back(scene.stepShown(frame, Size));
    ASSERT_GT(shown.size(), std::size_t(Steps / 2));
    std::vector<int> own(shown.size());
    std::iota(own.begin(), own.end(), Steps - int(shown.size()));
    EXPECT_EQ(shown, own);
  }
  EXPECT_EQ(m_Encoding.frames().size(), std::size_t(Steps));
}

TEST_F(RecordingTest, WithoutStepsThereIsAnEmptyVideo) {
  const SteppedScene scene(0);
  for (int kind = 0; kind < 3; ++kind) {
    m_Encoding.clear();
    m_Log.clear();
    makePanel();
    if (kind == 0) scene.selectPoints(0);
    if (kind == 1) scene.selectMatrices(0);
    if (kind == 2) trajectory::TrajectoryHandler::getInstance()->clear();
    ASSERT_TRUE(m_Host.run(makeCommand(m_Host.file("a.fake"), 0, 0, true)));
    ASSERT_EQ(m_Encoding.chunkCount(), 1);
    EXPECT_EQ(m_Encoding.chunks()[0].size, 0);
    EXPECT_TRUE(m_Encoding.chunks()[0].last);
    EXPECT_EQ(m_Log.messages(log::Milestone).size(), 1u);
  }
}

TEST_F(RecordingTest, FollowsThePanelsCamera) {
  const SteppedScene scene(4);
  gui::ScenePanel* panel = makePanel(BigSize, BigSize);
  useSmallestChunks();
  scene.selectMatrices(3);
  main::Command& command = makeCommand(m_Host.file("a.fake"));
  start(command);
  ASSERT_TRUE(waitUntil([&] { return m_Encoding.chunkCount() >= 1; }));
  gui::Camera camera = panel->getCamera();
  camera.azimuth = 180;  // the bar's right edge is now its left one
  panel->setCamera(camera);
  const int before = m_Encoding.chunkCount();
  ASSERT_TRUE(waitUntil([&] { return m_Encoding.chunkCount() >= before + 3; }));
  command.abort();
  ASSERT_TRUE(m_Host.settle());
  const auto frames = m_Encoding.frames();
  const auto covers = [](const QByteArray& frame, int x) {
    return uchar(frame[(BigSize / 4 * BigSize + x) * 4 + 3]) == 255;
  };
  EXPECT_TRUE(covers(frames.front(), 10));
  EXPECT_FALSE(covers(frames.back(), 10));
  EXPECT_TRUE(covers(frames.back(), BigSize - 10));
}

TEST_F(RecordingTest, TheSaveDialogOffersTheLoadableFormats) {
  FakeEncoding another(QStringLiteral("AVI"));
  setSetting("lastGrabVideoDirectory", m_Host.directory.path());
  const auto* factory = dynamic_cast<const main::FileParameterPanelFactory*>(
      mp_Registered->getParameterSets()[0].parameters()[0]->getParameterPanelFactory());
  ASSERT_TRUE(factory);
  const std::unique_ptr<QFileDialog> dialog(factory->createDialog());
  EXPECT_EQ(dialog->nameFilters(), (QStringList{"Fake video (*.avi)", "Fake video (*.fake)"}));
  EXPECT_EQ(dialog->defaultSuffix(), "avi");
  EXPECT_EQ(dialog->windowTitle(), "Save Video");
  EXPECT_EQ(dialog->acceptMode(), QFileDialog::AcceptSave);
  EXPECT_EQ(dialog->directory().path(), m_Host.directory.path());
}

TEST_F(RecordingTest, ManyThingsAtOnceEndWell) {
  const SteppedScene scene(3);
  scene.selectMatrices(0);
  std::vector<gui::ScenePanel*> panels{makePanel(32, 32), makePanel(48, 48)};
  const int rounds = 40;
  int closed = 0;
  for (int round = 0; round < rounds; ++round) {
    for (gui::ScenePanel* panel : panels) {
      m_Host.viewer.setActivePanel(panel);
      start(makeCommand(m_Host.file(QStringLiteral("%1.fake").arg(m_Commands.size())), 0, 0, round % 4 == 0));
    }
    std::thread user([&] {  // the user's abort may come on any thread, at any time
      for (int i = 0; i < 5; ++i) {
        QThread::msleep(1);
        m_Host.overseer.getCommandProcessor()->abortAll();
      }
    });
    for (int i = 0; i < 20; ++i) {
      gui::ScenePanel* panel = panels[std::size_t(i) % 2];
      m_Host.viewer.setActivePanel(panel);
      gui::Camera camera = panel->getCamera();
      camera.orbit(1, 0);
      panel->setCamera(camera);
      QCoreApplication::processEvents();
    }
    if (round % 3 == 2) {
      ++closed;
      closePanel(panels[1]);
      panels[1] = makePanel(48, 48);
    }
    user.join();
    m_Host.overseer.getCommandProcessor()->abortAll();
  }
  ASSERT_TRUE(waitUntil([&] {
    m_Host.overseer.getCommandProcessor()->abortAll();
    return !m_Host.overseer.getCommandProcessor()->isRunning();
  }));
  EXPECT_EQ(m_Encoding.alive, 0);
  const auto milestones = m_Log.messages(log::Milestone);
  const int abandoned = int(std::count(milestones.begin(), milestones.end(), "Video grabbing aborted"));
  const int done = int(milestones.size()) - abandoned;
  EXPECT_GT(done, 0);
  EXPECT_EQ(done, m_Encoding.finished - m_Encoding.aborted);
  EXPECT_LE(m_Encoding.aborted, abandoned);  // a panel may be closed before there is an encoder
  EXPECT_LE(abandoned, closed);
  EXPECT_EQ(QDir(m_Host.directory.path()).entryList({"*.fake"}).size(), done);
}

/// What a process holds that recordings could leave behind.
struct Holdings {
  int threads, files, textures, renderbuffers, framebuffers, buffers;
  std::size_t heap;

  static Holdings now(QOpenGLContext* shared) {
    QOffscreenSurface surface;
    surface.create();
    QOpenGLContext context;
    context.setShareContext(shared);
    context.create();
    context.makeCurrent(&surface);  // which lets Qt delete what waits for that
    auto* gl = context.extraFunctions();
    constexpr GLuint Names = 20000;
    Holdings result{count("/proc/self/task"), count("/proc/self/fd"), 0, 0, 0, 0, mallinfo2().uordblks};
    for (GLuint name = 1; name < Names; ++name) {
      result.textures += gl->glIsTexture(name);
      result.renderbuffers += gl->glIsRenderbuffer(name);
      result.framebuffers += gl->glIsFramebuffer(name);
      result.buffers += gl->glIsBuffer(name);
    }
    return result;
  }

 private:
  static int count(const char* directory) {
    return int(QDir(directory).entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot).size());
  }
};

TEST_F(RecordingTest, ManyRecordingsLeaveNothingBehind) {
  useFileChunks();
  const SteppedScene scene(2);
  makePanel(256, 256);
  const auto recordSome = [&](int count) {
    for (int i = 0; i < count; ++i) {
      scene.selectMatrices(0);
      // Every other one cannot start, which releases its objects by another way.
      const QString file = m_Host.file(i % 2 ? "a.fake" : "a.other");
      ASSERT_TRUE(m_Host.run(makeCommand(file, 0, 0, true)));
    }
    m_Log.clear();
    m_Encoding.clear();
    m_Commands.clear();
  };
  recordSome(4);
  QOpenGLContext* shared = m_Host.viewer.getSharedContext()->glContext();
  const Holdings before = Holdings::now(shared);
  recordSome(400);
  const Holdings after = Holdings::now(shared);
  // The pool of command threads, each with a file of its own, may have grown by one or two.
  EXPECT_LT(after.threads, before.threads + 10);
  EXPECT_LT(after.files, before.files + 10);
  EXPECT_LT(after.heap, before.heap + 400 * 1000);  // under a kilobyte a recording, so no object of any size
  EXPECT_EQ(after.textures, before.textures);
  EXPECT_EQ(after.renderbuffers, before.renderbuffers);
  EXPECT_EQ(after.framebuffers, before.framebuffers);
  EXPECT_EQ(after.buffers, before.buffers);
}

}  // namespace
}  // namespace nubo::test
