#include <dlfcn.h>
#include <unistd.h>

#include <QFileDialog>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLFramebufferObject>
#include <algorithm>
#include <chrono>
#include <future>
#include <limits>

#include "kernel/util/delegate.h"
#include "module_grab/videohandler.h"
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
      EXPECT_TRUE(chunk.last || chunk.size == qint64(BigSize) * BigSize * 4);
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
      {"a.fake", 16, limit + 1, tooLarge.arg(limit + 2 - limit % 2).arg(limit), 2},
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
    EXPECT_EQ(mark.text.section(';', 0, 0), row.marked == None ? QString() : row.refusal) << "what helps may follow";
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
    bool starts;
    Texts failures;
  };
  const Row Rows[] = {
      {Fails::Create, false, {noContext}},
      {Fails::Current, false, {"Current OpenGL context is invalid!"}},
      {Fails::Framebuffers, false, {"Your OpenGL implementation doesn't support framebuffer objects"}},
      {Fails::FrameCurrent, true, {"Could not make OpenGL context current!"}},
      {Fails::Bind, true, {notBound, notBound}},
      {Fails::Image, true, {"Picture couldn't be grabbed by FBO", "Picture couldn't be grabbed by FBO"}},
      {Fails::Nothing, true, {}},
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
    QVariantMap facts;
    QObject::connect(
        command.monitor(), &main::CommandMonitor::factGiven, command.monitor(),
        [&facts](const QString& name, const QVariant& value) { facts[name] = value; }, Qt::DirectConnection);
    ASSERT_TRUE(record(
        command, [&] { return watch.grabbed() > 4 && !m_Log.messages(log::Failure).empty(); },
        [&] { row.closes ? closePanel(panel) : command.abort(); }));
    EXPECT_EQ(m_Log.messages(log::Failure), Texts{row.failure});
    EXPECT_EQ(watch.detail(), QStringLiteral("%1 frames, %2 encoded").arg(watch.grabbed()).arg(row.encoded));
    EXPECT_EQ(facts.value("complete"), row.closes ? QVariant() : QVariant(false));
    EXPECT_EQ(facts.value("frames"), row.closes ? QVariant() : QVariant(row.encoded));
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

}  // namespace
}  // namespace nubo::test
