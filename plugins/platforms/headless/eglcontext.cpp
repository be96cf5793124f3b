#include "plugins/platforms/headless/eglcontext.h"

#include <QCoreApplication>
#include <QOpenGLContext>
#include <QThread>

namespace nubo::headless {

EglContext::EglContext(const Egl& egl, const EglContext* share)
    : m_Egl(egl),
      m_Context(egl.createContext(share ? share->m_Context : EGL_NO_CONTEXT)),
      m_Surface(egl.createSurface()),
      m_Sharing(share && m_Context != EGL_NO_CONTEXT) {
  if (isValid()) readFormat();
}

EglContext::~EglContext() { m_Egl.destroy(m_Context, m_Surface); }

bool EglContext::makeCurrent(QPlatformSurface*) {
  // Who waits for a thread may end the program before the thread's own destructors have run, and EGL's exit handler
  // would free what these free. The application's thread needs none: it runs that handler.
  thread_local const Egl* used = nullptr;
  if (QThread* const thread = QThread::currentThread(); !used && thread != qApp->thread()) {
    used = &m_Egl;
    QObject::connect(
        thread, &QThread::finished, qApp, [] { used->releaseThread(); }, Qt::DirectConnection);
  }
  return isValid() && m_Egl.makeCurrent(m_Context, m_Surface);
}

void EglContext::readFormat() {
  m_Format.setRenderableType(QSurfaceFormat::OpenGL);
  m_Format.setProfile(QSurfaceFormat::CompatibilityProfile);
  m_Format.setRedBufferSize(m_Egl.attribute(EGL_RED_SIZE));
  m_Format.setGreenBufferSize(m_Egl.attribute(EGL_GREEN_SIZE));
  m_Format.setBlueBufferSize(m_Egl.attribute(EGL_BLUE_SIZE));
  m_Format.setAlphaBufferSize(m_Egl.attribute(EGL_ALPHA_SIZE));
  m_Format.setDepthBufferSize(m_Egl.attribute(EGL_DEPTH_SIZE));
  m_Format.setStencilBufferSize(m_Egl.attribute(EGL_STENCIL_SIZE));

  // Only a current context tells its version; whichever was current stays so.
  QOpenGLContext* const previous = QOpenGLContext::currentContext();
  if (!m_Egl.makeCurrent(m_Context, m_Surface)) return;
  using GetString = const GLubyte*(QOPENGLF_APIENTRYP)(GLenum);
  if (const auto getString = reinterpret_cast<GetString>(m_Egl.function("glGetString"))) {
    int major = 0, minor = 0;
    if (parseOpenGLVersion(reinterpret_cast<const char*>(getString(GL_VERSION)), major, minor))
      m_Format.setVersion(major, minor);
  }
  m_Egl.doneCurrent();
  if (previous) previous->makeCurrent(previous->surface());
}

}  // namespace nubo::headless
