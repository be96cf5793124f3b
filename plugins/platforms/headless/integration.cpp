#include "plugins/platforms/headless/integration.h"

#include <qpa/qplatformoffscreensurface.h>
#include <qpa/qplatformsessionmanager.h>
#include <qpa/qplatformtheme.h>
#include <qpa/qwindowsysteminterface.h>

#include <QGuiApplication>
#include <QOffscreenSurface>
#include <QScreen>
#include <QtDebug>

#include "plugins/platforms/headless/eglcontext.h"

namespace nubo::headless {

namespace {

/// Contexts bring their own EGL surface, so there is nothing to hold.
class Surface : public QPlatformOffscreenSurface {
 public:
  using QPlatformOffscreenSurface::QPlatformOffscreenSurface;
  QSurfaceFormat format() const override { return offscreenSurface()->requestedFormat(); }
  bool isValid() const override { return true; }
};

}  // namespace

Integration::Integration(std::unique_ptr<QPlatformIntegration> offscreen) : m_Offscreen(std::move(offscreen)) {}

/// Qt's offscreen integration leaves the screens that it announced to whoever ends it.
Integration::~Integration() {
  for (QScreen* screen : QGuiApplication::screens()) QWindowSystemInterface::handleScreenRemoved(screen->handle());
}

const Egl& Integration::egl() const {
  std::call_once(m_EglOnce, [this] {
    m_Egl = std::make_unique<Egl>();
    if (!m_Egl->isValid()) qWarning("%s", qPrintable(m_Egl->error()));
  });
  return *m_Egl;
}

bool Integration::hasCapability(Capability capability) const {
  switch (capability) {
    case OpenGL:
    case ThreadedOpenGL:
    case AllGLFunctionsQueryable:
      return true;
    default:
      return m_Offscreen->hasCapability(capability);
  }
}

QPlatformOpenGLContext* Integration::createPlatformOpenGLContext(QOpenGLContext* context) const {
  if (!egl().isValid()) return nullptr;
  return new EglContext(egl(), static_cast<const EglContext*>(context->shareHandle()));
}

QPlatformOffscreenSurface* Integration::createPlatformOffscreenSurface(QOffscreenSurface* surface) const {
  return new Surface(surface);
}

}  // namespace nubo::headless
