#include "module_grab/videohandler.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLFramebufferObject>
#include <QPointer>
#include <QSettings>
#include <limits>
#include <mutex>

#include "kernel/log/logger.h"
#include "kernel/main/overseer.h"
#include "kernel/util/delegate.h"
#include "module_grab/glguards.h"
#include "module_grab/grabloops.h"
#include "module_grab/outputclaim.h"
#include "module_grab/video/videoencoder.h"
#include "module_grab/videoframe.h"
#include "module_grab/videosettings.h"
#include "module_scene/draw/scenedrawer.h"
#include "module_scene/gui/viewer.h"

namespace nubo::grab {

namespace {

using util::FunctionDelegate;
using util::WorkerDelegate;

bool onApplicationThread() { return QThread::currentThread() == main::Overseer::getInstance()->getApplicationThread(); }

/// The next even size.
int madeEven(int size) {
  const int possible = qMin(size, std::numeric_limits<int>::max() - 1);
  return possible + (possible & 1);
}

class SystemClock : public GrabbingClock {
 public:
  SystemClock() { m_Timer.start(); }
  std::int64_t microseconds() override { return m_Timer.nsecsElapsed() / 1000; }
  void sleep(std::int64_t milliseconds) override { QThread::msleep(static_cast<unsigned long>(milliseconds)); }

 private:
  QElapsedTimer m_Timer;
};

}  // namespace

class VideoHandler::Grabber : public QThread {
 public:
  explicit Grabber(VideoHandler* handler) : mp_Handler(handler) { setObjectName(QStringLiteral("Grabber")); }

  /// Ends the thread before its next frame; any thread.
  void requestStop() { m_Stop = true; }

 protected:
  void run() override {
    SystemClock clock;
    grabAtPace(*mp_Handler, clock, m_Stop);
  }

  std::atomic<bool> m_Stop{false};
  VideoHandler* mp_Handler;
};

class VideoHandler::SyncedGrabber : public Grabber {
 public:
  explicit SyncedGrabber(VideoHandler* handler) : Grabber(handler) { setObjectName(QStringLiteral("SyncedGrabber")); }

 protected:
  void run() override { grabInStep(*mp_Handler, m_Stop); }
};

VideoHandler::VideoHandler() = default;

VideoHandler::~VideoHandler() {
  cancel();
  // Left over only where the program is ending and its application thread takes no more work; releasing
  // them elsewhere could bring down what still draws.
  mp_SceneDrawer.release();
  mp_Fbo.release();
  mp_Surface.release();
  mp_Context.release();
}

bool VideoHandler::start(const QString& fileName, int width, int height, gui::ScenePanel* panel) {
  mp_Grabber = std::make_unique<Grabber>(this);
  return launch(QThread::HighestPriority, fileName, width, height, panel);
}

bool VideoHandler::startSynced(const QString& fileName, int width, int height, gui::ScenePanel* panel) {
  mp_Grabber = std::make_unique<SyncedGrabber>(this);
  return launch(QThread::InheritPriority, fileName, width, height, panel);
}

bool VideoHandler::launch(QThread::Priority priority, const QString& fileName, int width, int height,
                          gui::ScenePanel* panel) {
  if (!initStart(fileName, width, height, panel) || !giveGLToGrabber()) {
    releaseGL();
    mp_Grabber.reset();
    return false;
  }
  mp_Grabber->start(priority);
  return true;
}

bool VideoHandler::initStart(const QString& fileName, int width, int height, gui::ScenePanel* panel) {
  const auto refuse = [](const QString& reason) {
    NUBO_LOG(log::Failure, "nubo::grab::VideoHandler::initStart", reason);
    return false;
  };
  m_FileName = fileName;
  WorkerDelegate::invokeSync(new FunctionDelegate([&] { attachPanel(panel, width, height); }));
  if (!mp_Panel) return refuse(QObject::tr("There is no active scene window selected"));
  if (width < 0 || height < 0 || m_Width <= 0 || m_Height <= 0)
    return refuse(QObject::tr("Selected width or height is to small (min. 16)"));
  if (!initGL()) return false;
  if (const QString reason = whyTooLarge(frameSize(), m_MaxTextureSize); !reason.isEmpty()) return refuse(reason);
  mp_Encoder.reset(video::VideoEncoder::getInstance()->getEncoder(fileName));
  if (!mp_Encoder) return refuse(QObject::tr("No encoder for file '%1' found").arg(fileName));
  readSettings();
  mp_Claim = std::make_unique<OutputClaim>(fileName);
  if (mp_Claim->isRefused()) {
    mp_Encoder.reset();
    return refuse(QObject::tr("Another recording is writing the file '%1'").arg(fileName));
  }
  openOutput();
  return true;
}

void VideoHandler::openOutput() {
  // A file that cannot be opened is in the log already; the encoder then refuses the chunks.
  mp_Encoder->setBitrateChosen(m_IsBitrateChosen);
  mp_Encoder->setOutputParameters(m_FileName, m_Width, m_Height, m_Fps, m_Bitrate);
  connect(mp_Encoder.get(), &video::Encoder::progressChanged, this, &VideoHandler::progressChanged,
          Qt::DirectConnection);
  mp_Encoder->observeChunks([this](qint64 bytes) { countFrames(0, int(bytes / frameBytes())); });
}

void VideoHandler::attachPanel(gui::ScenePanel* panel, int width, int height) {
  // A panel that was closed on the way here is no longer among the viewer's; initGL refuses to go on without one.
  if (gui::Viewer::getInstance()->getPanels().contains(panel)) {
    mp_Panel = panel;
    const QSize size = frameSize(width, height, panel->size());
    m_Width = size.width();
    m_Height = size.height();
    takeTransform();
    connect(panel, &gui::ScenePanel::cameraChanged, this, &VideoHandler::takeTransform, Qt::DirectConnection);
    connect(panel, &QObject::destroyed, this, &VideoHandler::panelDestroyed, Qt::DirectConnection);
  }
}

QSize VideoHandler::frameSize(int width, int height, QSize panel) {
  const bool isPanels = width == 0 || height == 0;
  return {madeEven(isPanels ? panel.width() : width), madeEven(isPanels ? panel.height() : height)};
}

void VideoHandler::takeTransform() {
  const math::Matrix4 transform = mp_Panel->getScaledTransformMatrix();
  const QMutexLocker locker(&m_Mutex);
  m_Transform = transform;
}

void VideoHandler::panelDestroyed(QObject*) {
  const QMutexLocker locker(&m_Mutex);
  mp_Panel = nullptr;
}

void VideoHandler::readSettings() {
  const VideoSettings settings = readVideoSettings();
  m_MaxChunkSize = static_cast<std::uint32_t>(settings.chunkMegabytes) * 1000000;
  m_Fps = settings.fps;
  m_Bitrate = settings.bitrate;
  m_IsBitrateChosen = settings.isBitrateChosen;
  m_UseMemoryAsBuffer = settings.useMemoryAsBuffer;
}

bool VideoHandler::initGL() {
  if (!onApplicationThread()) {
    bool done = false;
    WorkerDelegate::invokeSync(new FunctionDelegate([this, &done] { done = initGL(); }));
    return done;
  }
  if (const QString problem = makeContext(); !problem.isEmpty()) {
    NUBO_LOG(log::Failure, "nubo::grab::VideoHandler::initGL", problem);
    cleanUpGL();
    return false;
  }
  mp_Fbo = std::make_unique<QOpenGLFramebufferObject>(m_Width, m_Height, QOpenGLFramebufferObject::CombinedDepthStencil,
                                                      GL_TEXTURE_2D, GL_RGBA8);
  mp_SceneDrawer = std::make_unique<scene::SceneDrawer>(gui::Viewer::getInstance()->getGlobalScene());
  mp_Context->doneCurrent();
  return true;
}

/// The objects stay on the application thread until nothing can go wrong any more: a thread that never runs could not
/// give them back.
bool VideoHandler::giveGLToGrabber() {
  return WorkerDelegate::invokeSync(new FunctionDelegate([this] {
    mp_Context->moveToThread(mp_Grabber.get());
    mp_Surface->moveToThread(mp_Grabber.get());
  }));
}

QString VideoHandler::makeContext() {
  m_MaxTextureSize = 0;
  QOpenGLContext* shared = scene::_GlobalContext()->glContext();
  if (!shared) return QObject::tr("Could not create OpenGL context!");
  mp_Context = std::make_unique<QOpenGLContext>();
  mp_Context->setShareContext(shared);
  mp_Surface = std::make_unique<QOffscreenSurface>();
  mp_Surface->setFormat(shared->format());
  mp_Surface->create();
  if (!mp_Context->create()) return QObject::tr("Could not create OpenGL context!");
  if (!mp_Context->makeCurrent(mp_Surface.get())) return QObject::tr("Current OpenGL context is invalid!");
  if (mp_Panel) glGetIntegerv(GL_MAX_TEXTURE_SIZE, &m_MaxTextureSize);
  if (m_MaxTextureSize < 1) return QObject::tr("Could not determine the maximum texture size");
  if (!QOpenGLFramebufferObject::hasOpenGLFramebufferObjects())
    return QObject::tr("Your OpenGL implementation doesn't support framebuffer objects");
  return QString();
}

void VideoHandler::grabPicture(QIODevice* device) {
  if (drawFrame(device)) countFrames(1, 0);
}

/// True if the frame is complete in the device. The locks are released in the opposite order, whatever happens.
bool VideoHandler::drawFrame(QIODevice* device) {
  QMutexLocker panelLock(&m_Mutex);
  if (!mp_Panel) mp_Grabber->requestStop();
  if (!mp_Panel) return false;
  panelLock.unlock();
  std::unique_lock contextLock(*scene::_GlobalContext());
  const util::YPointer<scene::Scene> scene = scene::_GlobalScene();
  const std::unique_lock sceneLock(*scene);
  const CurrentContext current(*mp_Context, *mp_Surface);
  if (!current) {
    NUBO_LOG(log::Failure, "nubo::grab::VideoHandler::grabPicture",
             QStringLiteral("Could not make OpenGL context current!"));
    mp_Grabber->requestStop();
    contextLock.unlock();
    return false;
  }
  const BoundFramebuffer bound(*mp_Fbo);
  if (!bound) {
    NUBO_LOG(log::Failure, "nubo::grab::VideoHandler::grabPicture", QObject::tr("Couldn't bind FBO to OpenGL context"));
    return false;
  }
  panelLock.relock();
  const math::Matrix4 transform = m_StepTransform.value_or(m_Transform);
  panelLock.unlock();
  const VideoFrame frame(*mp_SceneDrawer, m_Width, m_Height, transform);
  QImage picture = mp_Fbo->toImage();
  if (!appendFrame(picture, *device)) return false;
  // Colours are blended with the background already.
  if (m_FramesGrabbed == 0 && m_FirstObserver && picture.reinterpretAsFormat(QImage::Format_RGB32))
    m_FirstObserver(picture);
  return true;
}

ChunkRules VideoHandler::chunkRules() const { return {m_MaxChunkSize, m_UseMemoryAsBuffer, frameBytes()}; }

bool VideoHandler::encodeVideoChunk(QIODevice* chunk, bool last) { return mp_Encoder->encodeVideoChunk(chunk, last); }

void VideoHandler::lookFrom(const std::optional<gui::Camera>& camera) {
  m_StepTransform.reset();
  if (camera) m_StepTransform = camera->viewTransform();
}

void VideoHandler::tellPlan(int frames) { m_FramesPlanned = frames; }

void VideoHandler::tellProgress(int percent) { emit progressChanged(percent); }

void VideoHandler::tellStuck() {
  if (m_StuckObserver) m_StuckObserver();
}

void VideoHandler::tellFinished() { emit grabbingFinished(); }

void VideoHandler::countFrames(int grabbed, int encoded) {
  const int allGrabbed = m_FramesGrabbed += grabbed;
  const int allEncoded = m_FramesEncoded += encoded;
  if (m_FrameObserver) m_FrameObserver(allGrabbed, allEncoded);
}

void VideoHandler::cleanUpGL() {
  if (!onApplicationThread()) {
    QThread* application = QCoreApplication::instance()->thread();
    if (mp_Context) mp_Context->moveToThread(application);
    if (mp_Surface) mp_Surface->moveToThread(application);
    // The owner waits for this in reset(). Only an owner on the application thread itself is there first.
    WorkerDelegate::invoke(new FunctionDelegate([handler = QPointer<VideoHandler>(this)] {
      if (handler) handler->cleanUpGL();
    }));
    return;
  }
  if (!mp_Context) return;
  // With their context current, or drivers keep what hangs on the framebuffer.
  mp_Context->makeCurrent(mp_Surface.get());
  mp_Fbo.reset();
  mp_SceneDrawer.reset();
  mp_Context->doneCurrent();
  mp_Surface->destroy();
  mp_Context.reset();
  mp_Surface.reset();
}

void VideoHandler::finish() {
  stopGrabber();
  if (mp_Encoder) mp_Encoder->waitForFinish();
  reset();
}

void VideoHandler::cancel() {
  stopGrabber();
  if (mp_Encoder) mp_Encoder->abortEncoding();
  reset();
}

void VideoHandler::stopGrabber() {
  if (!mp_Grabber) return;
  mp_Grabber->requestStop();
  mp_Grabber->wait();
}

void VideoHandler::reset() {
  releaseGL();
  mp_Grabber.reset();
  mp_Encoder.reset();
  mp_Claim.reset();
}

/// Waits its turn behind a release that was posted. The panel is let go in the same visit, on the thread on which
/// it could otherwise be calling a slot of this handler right now.
void VideoHandler::releaseGL() {
  WorkerDelegate::invokeSync(new FunctionDelegate([this] {
    cleanUpGL();
    if (mp_Panel) mp_Panel->disconnect(this);
    mp_Panel = nullptr;
  }));
}

}  // namespace nubo::grab
