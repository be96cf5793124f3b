// A context of Qt's on EGL.
#pragma once

#include <qpa/qplatformopenglcontext.h>

#include "plugins/platforms/headless/egl.h"

namespace nubo::headless {

/// Brings a surface of its own, so that it can be made current for every window and off-screen surface alike:
/// what is drawn goes into framebuffer objects.
class EglContext final : public QPlatformOpenGLContext {
 public:
  /// `egl` must be valid and outlive the context; `share` may be null.
  EglContext(const Egl& egl, const EglContext* share);
  ~EglContext() override;

  QSurfaceFormat format() const override { return m_Format; }
  void swapBuffers(QPlatformSurface*) override {}
  bool makeCurrent(QPlatformSurface*) override;
  void doneCurrent() override { m_Egl.doneCurrent(); }
  bool isSharing() const override { return m_Sharing; }
  bool isValid() const override { return m_Context != EGL_NO_CONTEXT; }
  QFunctionPointer getProcAddress(const char* name) override { return m_Egl.function(name); }

 private:
  void readFormat();

  const Egl& m_Egl;
  EGLContext m_Context;
  EGLSurface m_Surface;
  bool m_Sharing;
  QSurfaceFormat m_Format;
};

}  // namespace nubo::headless
