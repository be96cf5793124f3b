#include "module_scene/draw/sharedcontext.h"

#include <private/qopenglcontext_p.h>

#include <QOffscreenSurface>
#include <QOpenGLFramebufferObject>
#include <QOpenGLFunctions>
#include <atomic>

#include "kernel/log/logger.h"
#include "module_scene/draw/surfaceshader.h"

namespace nubo::scene {

namespace {

std::atomic<SharedContext*> s_GlobalContext{nullptr};

// What fixed-function drawing needs, for this context, for panels and for contexts that modules make.
QSurfaceFormat drawingFormat() {
  QSurfaceFormat format = QSurfaceFormat::defaultFormat();
  format.setDepthBufferSize(24);
  format.setStencilBufferSize(8);
  format.setProfile(QSurfaceFormat::CompatibilityProfile);
  return format;
}

}  // namespace

SharedContext::SharedContext() {
  QSurfaceFormat::setDefaultFormat(drawingFormat());
  auto context = std::make_unique<QOpenGLContext>();
  context->setFormat(drawingFormat());
  context->setShareContext(qt_gl_global_share_context());
  if (!context->create()) {
    NUBO_LOG(log::Failure, "nubo::scene::SharedContext::SharedContext", "Could not create an OpenGL context");
    return;
  }
  mp_Context = std::move(context);
  mp_Surface = std::make_unique<QOffscreenSurface>();
  mp_Surface->setFormat(mp_Context->format());
  mp_Surface->create();
  if (mp_Context->makeCurrent(mp_Surface.get())) {
    const char* needed = mp_Context->format().version() < qMakePair(2, 0)               ? "2.0"
                         : !mp_Context->getProcAddress("glDrawRangeElementsBaseVertex") ? "3.2"
                                                                                        : nullptr;
    if (needed)
      NUBO_LOG(log::Failure, "nubo::scene::SharedContext::SharedContext",
               "This OpenGL cannot draw scenes, version %s or newer is needed", needed);
    else if (const char* missing = SurfaceShader::whatIsMissing())
      NUBO_LOG(log::Failure, "nubo::scene::SharedContext::SharedContext",
               "This OpenGL lacks %s, scenes are drawn in the look \"plain\"", missing);
    // What cannot be drawn is not to be grabbed, either.
    m_HasFramebufferObjects = !needed && QOpenGLFramebufferObject::hasOpenGLFramebufferObjects();
    mp_Context->functions()->glGetIntegerv(GL_MAX_TEXTURE_SIZE, &m_LargestTexture);
    mp_Context->doneCurrent();
  }
  // Widgets share with the context that Qt knows as the global one.
  if (!qt_gl_global_share_context()) qt_gl_set_global_share_context(mp_Context.get());
}

SharedContext::~SharedContext() {
  if (!mp_Context) return;
  if (qt_gl_global_share_context() == mp_Context.get()) qt_gl_set_global_share_context(nullptr);
  // Becoming current lets Qt delete what the scene's objects left behind.
  if (mp_Context->makeCurrent(mp_Surface.get())) mp_Context->doneCurrent();
}

SharedContext* _GlobalContext() { return s_GlobalContext; }

void setGlobalContext(SharedContext* context) { s_GlobalContext = context; }

}  // namespace nubo::scene
