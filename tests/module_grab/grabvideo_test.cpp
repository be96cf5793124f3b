#include <dlfcn.h>
#include <fcntl.h>
#include <malloc.h>
#include <sys/file.h>
#include <unistd.h>

#include <QFileDialog>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLExtraFunctions>
#include <QOpenGLFramebufferObject>
#include <algorithm>
#include <chrono>
#include <future>
#include <limits>
#include <numeric>
#include <thread>

#include "kernel/util/delegate.h"
#include "module_grab/videohandler.h"
#include "module_scene/draw/sharedcontext.h"
#include "recording.h"

/// What OpenGL is to fail at.
enum class Fails { Nothing, Create, Current, Framebuffers, FrameCurrent, Bind, Image };
static std::atomic<Fails> g_Fails{Fails::Nothing};

template <class Result, class... Arguments>
static Result callQt(const char* symbol, Arguments... arguments) {
  return reinterpret_cast<Result (*)(Arguments...)>(dlsym(RTLD_NEXT, symbol))(arguments...);
}

// These stand before Qt's own.
bool QOpenGLContext::create() { return g_Fails != Fails::Create && callQt<bool>("_ZN14QOpenGLContext6createEv", this); }
bool QOpenGLContext::makeCurrent(QSurface* surface) {
  const bool onApplicationThread = QThread::currentThread() == QCoreApplication::instance()->thread();
  if (g_Fails == (onApplicationThread ? Fails::Current : Fails::FrameCurrent)) return false;
  return callQt<bool>("_ZN14QOpenGLContext11makeCurrentEP8QSurface", this, surface);
}
bool QOpenGLFramebufferObject::hasOpenGLFramebufferObjects() {
  return g_Fails != Fails::Framebuffers && callQt<bool>("_ZN24QOpenGLFramebufferObject27hasOpenGLFramebufferObjectsEv");
}
bool QOpenGLFramebufferObject::bind() {
  return g_Fails != Fails::Bind && callQt<bool>("_ZN24QOpenGLFramebufferObject4bindEv", this);
}
QImage QOpenGLFramebufferObject::toImage() const {
  return g_Fails == Fails::Image ? QImage() : callQt<QImage>("_ZNK24QOpenGLFramebufferObject7toImageEv", this);
}

namespace nubo::test {
namespace {

using Texts = std::vector<QString>;

constexpr int Patience = 10000;  // milliseconds
const char TooSmall[] = "Selected width or height is to small (min. 16)";

TEST_F(RecordingTest, EncodesByItsSettingsWhatWasRecordedUntilTheAbort) {
  constexpr int AnInt = std::numeric_limits<int>::max();
  struct Row {
    QVariantList settings;  // as the keys below
    int fps, bitrate;
    bool oneFrameAChunk, inMemory;
  };
  const Row Rows[] = {
      {{}, 25, 1200000, false, true},
      {{1, 30, 5000, false}, 30, 5000000, true, false},
      {{-1, 1, 2147483, true}, 1, 2147483000, true, true},
      {{3000, 25, 2147484, true}, 25, AnInt, false, true},
  };
  makePanel(BigSize, BigSize);
  for (const Row& row : Rows) {
    SCOPED_TRACE(row.bitrate);
    const char* const Keys[] = {"tempfilesize", "fps", "kbps", "usememoryasbuffer"};
    for (int i = 0; i < row.settings.size(); ++i)
      setSetting(QByteArray("settings/grabvideo") + Keys[i], row.settings[i]);
    m_Encoding.clear();
    m_Log.clear();
    EXPECT_TRUE(m_RegisteredEnabled);
    main::Command& command = makeCommand(m_Host.file("a.fake"));
    EXPECT_FALSE(m_RegisteredEnabled);
    const CommandWatch watch(command);
    ASSERT_TRUE(record(
        command, [&] { return watch.grabbed() >= 4; }, [&] { m_Host.overseer.getCommandProcessor()->abortAll(); }));
    command.abort();  // late: nothing to end

    EXPECT_EQ(watch.texts(), (Texts{"RAW-Video grabbing started", "Video encoding started"}));
    EXPECT_EQ(m_Log.messages(), (Texts{"Video encoding started", doneText("a.fake")}));
    EXPECT_TRUE(m_RegisteredEnabled);
    const auto frames = m_Encoding.frames().size();
    EXPECT_EQ(watch.detail(), QStringLiteral("%1 frames, %1 encoded").arg(frames));
    const auto chunks = m_Encoding.chunks();
    std::size_t times = 0;
    for (const EncodedChunk& chunk : chunks) {
      EXPECT_EQ(chunk.last, &chunk == &chunks.back());
      EXPECT_EQ(chunk.isMemory, row.inMemory);
      EXPECT_TRUE(chunk.last || chunk.size == BigSize * BigSize * 4);
      times += std::size_t(chunk.times.size());
    }
    EXPECT_EQ(chunks.size() > 1, row.oneFrameAChunk);
    EXPECT_EQ(times, frames);
    EXPECT_GT(chunks.back().end.toLongLong(), chunks.back().times.back());
    EXPECT_EQ(m_Encoding.finished - m_Encoding.aborted, 1);
    EXPECT_EQ(m_Encoding.alive, 0);
    EXPECT_EQ(m_Encoding.fps, row.fps);
    EXPECT_EQ(m_Encoding.bitrate, row.bitrate);
    EXPECT_EQ(temporaryFiles(), 0);
    EXPECT_TRUE(QFile::exists(m_Host.file("a.fake")));
  }
}

int maxTextureSize() {
  QOffscreenSurface surface;
  surface.create();
  QOpenGLContext context;
  GLint size = 0;
  if (context.create() && context.makeCurrent(&surface)) glGetIntegerv(GL_MAX_TEXTURE_SIZE, &size);
  return size;
}

TEST_F(RecordingTest, TakesSizesMadeEvenAndRefusesWhatItCannotRecord) {
  const int limit = maxTextureSize();
  ASSERT_GT(limit, 0);
  const QString noEncoder = QStringLiteral("No encoder for file '%1' found");
  const QString tooLarge =
      QStringLiteral("You can not grab videos with size 16 x %1 because your max. texture size is %2");
  constexpr int None = -1;
  struct Row {
    const char* file;
    int width, height;
    QString refusal;
    int marked;  // the parameter that a dialog marks
    int even[2] = {0, 0};
  };
  const Row Rows[] = {
      {"a.fake", 15, 480, TooSmall, 1},
      {"a.fake", 480, 1, TooSmall, 2},
      {"a.fake", -2, 480, TooSmall, 1},
      {"a.fake", 480, -1, TooSmall, 2},
      {"a.other", 16, 16, noEncoder.arg(m_Host.file("a.other")), 0},
      {"a", 16, 16, noEncoder.arg(m_Host.file("a")), 0},
      {"a.fake", 16, limit + 1, tooLarge.arg(limit + 2 - limit % 2).arg(limit), None},
      {"a.fake", 16, 17, {}, None, {16, 18}},
      {"a.fake", 0, 480, {}, None, {90, 70}},
      {"a.fake", 480, 0, {}, None, {90, 70}},
      {"a.fake", limit, 16, {}, None, {limit, 16}},
  };
  gui::ScenePanel* panel = makePanel(89, 70);
  const auto check = [this](const main::ParameterSet& values) {
    return mp_Registered->getParameterSets()[0].check(values);
  };
  for (const Row& row : Rows) {
    SCOPED_TRACE(&row - Rows);
    const auto mark = check(makeValues(m_Host.file(row.file), row.width, row.height));
    EXPECT_EQ(mark.text, row.marked == None ? QString() : row.refusal);
    EXPECT_EQ(int(mark.parameter), std::max(row.marked, 0));
    m_Log.clear();
    main::Command& command = makeCommand(m_Host.file(row.file), row.width, row.height);
    ASSERT_TRUE(record(
        command, [&] { return isThere(row.file)() || m_RegisteredEnabled; }, [&] { command.abort(); }));
    EXPECT_EQ(m_Log.messages(log::Failure), row.refusal.isEmpty() ? Texts{} : Texts{row.refusal});
    EXPECT_EQ(QFile::remove(m_Host.file(row.file)), row.refusal.isEmpty());
    EXPECT_TRUE(m_RegisteredEnabled);
    if (row.even[0] == 0) continue;
    EXPECT_EQ(m_Encoding.width, row.even[0]);
    EXPECT_EQ(m_Encoding.height, row.even[1]);
  }
  EXPECT_EQ(main::nuboSettings()->value("lastGrabVideoDirectory").toString(), m_Host.directory.path());

  const SteppedScene scene(1);
  EXPECT_EQ(check(makeValues("a.fake", 0, 0, true)).parameter, 3u) << "in step of nothing";
  EXPECT_EQ(check(makeValues("a.fake")).text, "");
  scene.selectPoints(0);
  EXPECT_EQ(check(makeValues("a.fake", 0, 0, true)).text, "");

  m_Log.clear();
  EXPECT_FALSE(grab::VideoHandler().start(m_Host.file("a.fake"), 480, -1, panel));
  main::Command& command = makeCommand(m_Host.file("a.fake"));
  m_Host.viewer.setActivePanel(nullptr);
  EXPECT_FALSE(m_RegisteredEnabled);
  ASSERT_TRUE(m_Host.run(command));
  EXPECT_EQ(m_Log.messages(), (Texts{TooSmall, "There is no active scene window selected"}));
}

TEST_F(RecordingTest, NoticesAPanelThatIsClosedWhileItStarts) {
  gui::ScenePanel* panel = makePanel();
  main::Command& command = makeCommand(m_Host.file("a.fake"));
  g_Fails = Fails::Create;  // OpenGL is asked for nothing
  QObject::connect(
      command.monitor(), &main::CommandMonitor::textChanged, command.monitor(),
      [&] { util::WorkerDelegate::invokeSync(new util::FunctionDelegate([&] { closePanel(panel); })); },
      Qt::DirectConnection);
  EXPECT_TRUE(m_Host.run(command));
  g_Fails = Fails::Nothing;
  EXPECT_EQ(m_Log.messages(), Texts{"There is no active scene window selected"});
}

TEST_F(RecordingTest, OutlivesWhatOpenGLFailsAt) {
  const QString noContext = "Could not create OpenGL context!", notBound = "Couldn't bind FBO to OpenGL context";
  struct Row {
    Fails what;
    Texts failures;
    bool starts;
  };
  const Row Rows[] = {
      {Fails::Create, {noContext}, false},
      {Fails::Current, {"Current OpenGL context is invalid!"}, false},
      {Fails::Framebuffers, {"Your OpenGL implementation doesn't support framebuffer objects"}, false},
      {Fails::FrameCurrent, {"Could not make OpenGL context current!"}, true},
      {Fails::Bind, {notBound, notBound}, true},
      {Fails::Image, {"Picture couldn't be grabbed by FBO", "Picture couldn't be grabbed by FBO"}, true},
      {Fails::Nothing, {}, true},
  };
  const SteppedScene scene(2);
  makePanel();
  for (const Row& row : Rows) {
    SCOPED_TRACE(int(row.what));
    scene.selectPoints(0);
    m_Encoding.clear();
    m_Log.clear();
    main::Command& command = makeCommand(m_Host.file("a.fake"), 0, 0, true);
    g_Fails = row.what;
    ASSERT_TRUE(m_Host.run(command));
    g_Fails = Fails::Nothing;
    EXPECT_EQ(m_Log.messages(log::Failure), row.failures);
    EXPECT_EQ(m_Log.messages(log::Milestone), row.starts ? Texts{doneText("a.fake")} : Texts{});
    EXPECT_EQ(m_Encoding.chunkCount(), row.starts ? 1 : 0);
    EXPECT_EQ(int(m_Encoding.frames().size()), row.what == Fails::Nothing ? 2 : 0);
    EXPECT_FALSE(m_Encoding.contextAtStart) << "the context is current within a frame only";
    EXPECT_EQ(QFile::remove(m_Host.file("a.fake")), row.starts);
  }
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

TEST_F(RecordingTest, TellsItsFramesUnderNoLock) {
  makePanel();
  main::Command& command = makeCommand(m_Host.file("a.fake"));
  std::future<void> change;
  std::atomic<bool> told{false}, couldChange{false};
  const auto tryToChange = [&] {
    if (change.valid()) return;
    change = std::async(std::launch::async, [] {
      const std::unique_lock context(*scene::_GlobalContext());
      const scene::SceneChange change(scene::_GlobalScene(), scene::LockAll);
    });
    couldChange = change.wait_for(std::chrono::milliseconds(Patience)) == std::future_status::ready;
    told = true;
  };
  QObject::connect(command.monitor(), &main::CommandMonitor::detailChanged, command.monitor(), tryToChange,
                   Qt::DirectConnection);
  ASSERT_TRUE(record(
      command, [&] { return told.load(); }, [&] { command.abort(); }));
  EXPECT_TRUE(couldChange);
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

TEST_F(RecordingTest, GoesOnUntilItIsAbortedOrTheProgramEnds) {
  makePanel();
  mp_Registered->abort();
  main::Command& command = makeCommand(m_Host.file("a.fake"));
  command.abort();  // before it runs
  ASSERT_TRUE(record(command, isThere("a.fake"), [&] {
    EXPECT_EQ(m_Log.messages(), Texts{});
    m_Host.overseer.getCommandProcessor()->shutDown();
  }));
  EXPECT_EQ(m_Log.messages(log::Milestone), Texts{doneText("a.fake")});
}

TEST_F(RecordingTest, AnEncoderThatFailsEndsNothingButItself) {
  const QString refused = "Couldn't initialize video encoding", failed = "Couldn't encode chunk!";
  struct Row {
    int failsAt;  // -1: at its start
    bool closes;
    QString failure;
    int encoded;
  };
  useSmallestChunks();
  for (const Row& row :
       {Row{-1, false, refused, 0}, Row{-1, true, refused, 0}, Row{2, false, failed, 2}, Row{2, true, failed, 2}}) {
    SCOPED_TRACE(row.failsAt);
    m_Encoding.clear();
    m_Encoding.refuse = row.failsAt < 0;
    m_Encoding.failAtChunk = row.failsAt;
    m_Log.clear();
    gui::ScenePanel* panel = makePanel(BigSize, BigSize);
    main::Command& command = makeCommand(m_Host.file("a.fake"));
    const CommandWatch watch(command);
    ASSERT_TRUE(record(
        command, [&] { return watch.grabbed() > 4 && !m_Log.messages(log::Failure).empty(); },
        [&] { row.closes ? closePanel(panel) : command.abort(); }));
    EXPECT_EQ(m_Log.messages(log::Failure), Texts{row.failure});
    EXPECT_EQ(watch.detail(), QStringLiteral("%1 frames, %2 encoded").arg(watch.grabbed()).arg(row.encoded));
    EXPECT_EQ(m_Encoding.finished, 1);
    EXPECT_EQ(m_Encoding.alive, 0);
    EXPECT_EQ(QFile::exists(m_Host.file("a.fake")), !row.closes);
  }
}

TEST_F(RecordingTest, EveryStepIsOneFrame) {
  const SteppedScene scene(10);
  useSmallestChunks();
  for (const bool matrices : {false, true})
    for (const int size : {64, BigSize}) {  // a chunk for all, or one for each
      SCOPED_TRACE(size);
      m_Encoding.clear();
      makePanel(size, size);
      matrices ? scene.selectMatrices(4) : scene.selectPoints(4);
      main::Command& command = makeCommand(m_Host.file("a.fake"), 0, 0, true);
      const CommandWatch watch(command);
      ASSERT_TRUE(m_Host.run(command));
      EXPECT_EQ(scene.stepsShown(m_Encoding, size), (std::vector<int>{4, 5, 6, 7, 8, 9}));
      EXPECT_EQ(m_Encoding.chunkCount(), size == BigSize ? 6 : 1);
      EXPECT_EQ(trajectory::SelectedTrajectory().position(), 9u);
      const std::vector<int> percents = watch.percents();
      for (const int percent : {-1, 40, 50, 90})
        EXPECT_EQ(std::count(percents.begin(), percents.end(), percent) > 0, true);
    }
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

/// What a process holds that recordings could leave behind: files, OpenGL's objects, bytes.
std::vector<double> holdings(QOpenGLContext* shared) {
  QOffscreenSurface surface;
  surface.create();
  QOpenGLContext context;
  context.setShareContext(shared);
  context.create();
  context.makeCurrent(&surface);  // which lets Qt delete what waits for that
  auto* gl = context.extraFunctions();
  double objects = 0;
  for (GLuint name = 1; name < 20000; ++name)
    objects += gl->glIsTexture(name) + gl->glIsRenderbuffer(name) + gl->glIsFramebuffer(name) + gl->glIsBuffer(name);
  const QDir files(QStringLiteral("/proc/self/fd"));
  return {double(files.entryList(QDir::AllEntries | QDir::System).size()), objects, double(mallinfo2().uordblks)};
}

TEST_F(RecordingTest, ManyRecordingsLeaveNothingBehind) {
  useFileChunks();
  const SteppedScene scene(2);
  makePanel(256, 256);
  const auto recordSome = [&](int count) {
    for (int i = 0; i < count; ++i) {
      scene.selectMatrices(0);
      // Every other one cannot start, which releases its objects by another way.
      ASSERT_TRUE(m_Host.run(makeCommand(m_Host.file(i % 2 ? "a.fake" : "a.other"), 0, 0, true)));
    }
    m_Log.clear();
    m_Encoding.clear();
    m_Commands.clear();
  };
  recordSome(4);
  QOpenGLContext* shared = m_Host.viewer.getSharedContext()->glContext();
  const std::vector<double> before = holdings(shared);
  recordSome(400);
  const std::vector<double> after = holdings(shared);
  // Command threads may have become more, each with a file of its own. Under a kilobyte a recording is no object.
  const double Growth[] = {10, 1, 400 * 1000};
  for (std::size_t i = 0; i < before.size(); ++i) EXPECT_LT(after[i], before[i] + Growth[i]) << i;
}

}  // namespace
}  // namespace nubo::test
