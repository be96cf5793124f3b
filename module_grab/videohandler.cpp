#include "module_grab/videohandler.h"

#include <GL/glu.h>

#include <QCoreApplication>
#include <QImage>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLFramebufferObject>
#include <QPointer>
#include <QSettings>
#include <mutex>

#include "kernel/log/logger.h"
#include "kernel/main/overseer.h"
#include "kernel/util/delegate.h"
#include "module_grab/grabber.h"
#include "module_grab/video/videoencoder.h"
#include "module_scene/draw/scenedrawer.h"
#include "module_scene/gui/viewer.h"

namespace nubo::grab {

namespace {

using util::FunctionDelegate;
using util::WorkerDelegate;

void logFailure(int line, const char* operation, const QString& message) {
  const QByteArray function = QByteArray("nubo::grab::VideoHandler::") + operation;
  log::Logger::getInstance()->log(log::Failure, "module_grab/videohandler", line, function.constData(), nullptr,
                                  message);
}

bool onApplicationThread() { return QThread::currentThread() == main::Overseer::getInstance()->getApplicationThread(); }

/// The next even size.
int madeEven(int size) { return size + (size & 1); }

/// Keeps the fixed-function state and the matrices of the current context as they are.
class GLStateKeeper {
 public:
  GLStateKeeper() {
    glPushAttrib(GL_ALL_ATTRIB_BITS);
    glGetDoublev(GL_PROJECTION_MATRIX, m_Projection);
    glGetDoublev(GL_MODELVIEW_MATRIX, m_ModelView);
  }
  ~GLStateKeeper() {
    glMatrixMode(GL_PROJECTION);
    glLoadMatrixd(m_Projection);
    glMatrixMode(GL_MODELVIEW);
    glLoadMatrixd(m_ModelView);
    glPopAttrib();
  }
  GLStateKeeper(const GLStateKeeper&) = delete;
  GLStateKeeper& operator=(const GLStateKeeper&) = delete;

 private:
  double m_Projection[16];
  double m_ModelView[16];
};

/// False, with the reason in the log, if the frame or its rest is missing.
bool appendFrame(const QImage& image, QIODevice* device) {
  const char* data = reinterpret_cast<const char*>(image.constBits());
  qint64 left = image.sizeInBytes();
  while (left > 0) {
    const qint64 written = device->write(data, left);
    if (written == -1) {
      logFailure(__LINE__, "grabPicture", QObject::tr("Couldn't write %1 bytes to temporary file").arg(left));
      return false;
    }
    data += written;
    left -= written;
  }
  return true;
}

}  // namespace

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
  m_FileName = fileName;
  WorkerDelegate::invokeSync(new FunctionDelegate([&] { attachPanel(panel, width, height); }));
  if (!initGL()) return false;
  if (m_MaxTextureSize < m_Width || m_MaxTextureSize < m_Height) {
    logFailure(__LINE__, "initStart",
               QObject::tr("You can not grab videos with size %1 x %2 because your max. texture size is %3")
                   .arg(m_Width)
                   .arg(m_Height)
                   .arg(m_MaxTextureSize));
    return false;
  }
  mp_Encoder.reset(video::VideoEncoder::getInstance()->getEncoder(fileName));
  if (!mp_Encoder) {
    logFailure(__LINE__, "initStart", QObject::tr("No encoder for file '%1' found").arg(fileName));
    return false;
  }
  readSettings();
  // A file that cannot be opened is in the log already; the encoder then refuses the chunks.
  mp_Encoder->setOutputParameters(m_FileName, m_Width, m_Height, m_Fps, m_Bitrate);
  connect(mp_Encoder.get(), &video::Encoder::progressChanged, this, &VideoHandler::progressChanged,
          Qt::DirectConnection);
  return true;
}

void VideoHandler::attachPanel(gui::ScenePanel* panel, int width, int height) {
  // A panel that was closed on the way here is no longer among the viewer's; initGL refuses to go on without one.
  if (gui::Viewer::getInstance()->getPanels().contains(panel)) {
    mp_Panel = panel;
    if (width == 0 || height == 0) {
      width = panel->width();
      height = panel->height();
    }
    takeTransform();
    connect(panel, &gui::ScenePanel::cameraChanged, this, &VideoHandler::takeTransform, Qt::DirectConnection);
    connect(panel, &QObject::destroyed, this, &VideoHandler::panelDestroyed, Qt::DirectConnection);
  }
  m_Width = madeEven(width);
  m_Height = madeEven(height);
}

void VideoHandler::takeTransform() {
  const math::Matrix4 transform = mp_Panel->getScaledTransformMatrix();
  const QMutexLocker locker(&m_TransformMutex);
  m_Transform = transform;
}

void VideoHandler::panelDestroyed(QObject*) {
  const QMutexLocker locker(&m_Mutex);
  mp_Panel = nullptr;
}

void VideoHandler::readSettings() {
  const QSettings* settings = main::nuboSettings();
  m_MaxChunkSize =
      static_cast<std::uint32_t>(settings->value("settings/grabvideotempfilesize", "50").toInt()) * 1000000;
  m_Fps = settings->value("settings/grabvideofps", "25").toInt();
  m_Bitrate = settings->value("settings/grabvideokbps", "1200").toInt() * 1000;
  m_UseMemoryAsBuffer = settings->value("settings/grabvideousememoryasbuffer", "1").toBool();
}

bool VideoHandler::initGL() {
  if (!onApplicationThread()) {
    bool done = false;
    WorkerDelegate::invokeSync(new FunctionDelegate([this, &done] { done = initGL(); }));
    return done;
  }
  if (!makeContext()) {
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

bool VideoHandler::makeContext() {
  const auto refuse = [](int line, const QString& message) {
    logFailure(line, "initGL", message);
    return false;
  };
  m_MaxTextureSize = 0;
  QOpenGLContext* shared = scene::_GlobalContext()->glContext();
  if (!shared) return refuse(__LINE__, QObject::tr("Could not create OpenGL context!"));
  mp_Context = std::make_unique<QOpenGLContext>();
  mp_Context->setShareContext(shared);
  mp_Surface = std::make_unique<QOffscreenSurface>();
  mp_Surface->setFormat(shared->format());
  mp_Surface->create();
  if (!mp_Context->create()) return refuse(__LINE__, QObject::tr("Could not create OpenGL context!"));
  if (!mp_Context->makeCurrent(mp_Surface.get()))
    return refuse(__LINE__, QObject::tr("Current OpenGL context is invalid!"));
  if (mp_Panel) glGetIntegerv(GL_MAX_TEXTURE_SIZE, &m_MaxTextureSize);
  if (m_MaxTextureSize < 1) return refuse(__LINE__, QObject::tr("Could not determine the maximum texture size"));
  if (!QOpenGLFramebufferObject::hasOpenGLFramebufferObjects())
    return refuse(__LINE__, QObject::tr("Your OpenGL implementation doesn't support framebuffer objects"));
  return true;
}

void VideoHandler::grabPicture(QIODevice* device) {
  const QMutexLocker locker(&m_Mutex);
  if (!mp_Panel) return mp_Grabber->requestStop();
  std::unique_lock<scene::SharedContext> contextLock(*scene::_GlobalContext());
  const util::YPointer<scene::Scene> scene = scene::_GlobalScene();
  const std::unique_lock<scene::Scene> sceneLock(*scene);
  if (!mp_Context->makeCurrent(mp_Surface.get())) {
    logFailure(__LINE__, "grabPicture", QStringLiteral("Could not make OpenGL context current!"));
    mp_Grabber->requestStop();
    contextLock.unlock();
    return;
  }
  if (mp_Fbo->bind()) {
    const GLStateKeeper keeper;
    drawScene();
    const QImage image = mp_Fbo->toImage();
    if (image.isNull())
      logFailure(__LINE__, "grabPicture", QObject::tr("Picture couldn't be grabbed by FBO"));
    else if (appendFrame(image, device))
      countFrames(1, 0);
  } else {
    logFailure(__LINE__, "grabPicture", QObject::tr("Couldn't bind FBO to OpenGL context"));
  }
  mp_Fbo->release();
  mp_Context->doneCurrent();
}

void VideoHandler::drawScene() {
  const util::YPointer<scene::SceneElement> root = gui::Viewer::getInstance()->getGlobalScene()->getRootNode();
  const QColor background = mp_SceneDrawer->getBackgroundColor();
  glClearColor(float(background.redF()), float(background.greenF()), float(background.blueF()), 0.0f);
  glShadeModel(GL_SMOOTH);
  glEnable(GL_DEPTH_TEST);
  glEnable(GL_LIGHTING);
  glEnable(GL_COLOR_MATERIAL);

  QMutexLocker locker(&m_TransformMutex);
  const math::Matrix4 transform = m_Transform;
  locker.unlock();
  mp_SceneDrawer->resize(m_Width, m_Height);

  glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
  glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
  glMatrixMode(GL_PROJECTION);
  glLoadIdentity();
  gluPerspective(45.0, double(m_Width) / m_Height, scene::SceneDrawer::ZNEAR, scene::SceneDrawer::ZFAR);
  glMatrixMode(GL_MODELVIEW);
  glLoadIdentity();
  glEnable(GL_LIGHT0);
  mp_SceneDrawer->glDraw(root, nullptr, transform, 0.0, 65535, 7);
  glFlush();
}

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
