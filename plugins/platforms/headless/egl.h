// OpenGL through EGL, on whatever display can be had without a window system.
#pragma once

#include <EGL/egl.h>
#include <EGL/eglext.h>

#include <QLibrary>
#include <QString>

namespace nubo::headless {

/// An initialised EGL display with a configuration for desktop OpenGL. libEGL is loaded, not linked, so that a
/// program also starts where it is missing. Once made it may be used on any thread.
class Egl {
 public:
  /// Tries graphics cards, then Mesa's surfaceless platform, then software devices, then the default display;
  /// takes the first on which a context can be made.
  /// The display stays initialised until the process ends: whoever asks again gets the same one.
  Egl();
  Egl(const Egl&) = delete;
  Egl& operator=(const Egl&) = delete;

  bool isValid() const { return m_Display != EGL_NO_DISPLAY; }
  /// One line: what is missing and what to install. Empty when valid.
  const QString& error() const { return m_Error; }

  /// A compatibility context (null: it could not be made) for use with createSurface's surfaces.
  EGLContext createContext(EGLContext share) const;
  /// 1 x 1 pixels, as contexts draw into framebuffer objects; EGL_NO_SURFACE where contexts do without.
  EGLSurface createSurface() const;
  void destroy(EGLContext context, EGLSurface surface) const;
  bool makeCurrent(EGLContext context, EGLSurface surface) const;
  void doneCurrent() const { makeCurrent(EGL_NO_CONTEXT, EGL_NO_SURFACE); }
  /// Frees what the library keeps for the calling thread. To be called as the thread ends, and not for each context:
  /// the driver of a graphics card takes tens of milliseconds to make it anew.
  void releaseThread() const { m_ReleaseThread(); }
  EGLint attribute(EGLint name) const;
  QFunctionPointer function(const char* name) const;

 private:
  template <class Function>
  bool resolve(Function& function, const char* name);
  bool load();
  bool openAny();
  bool open(EGLDisplay display);
  bool hasExtension(EGLDisplay display, const char* name) const;

  QLibrary m_Library;
  QString m_Error;
  EGLDisplay m_Display = EGL_NO_DISPLAY;
  EGLConfig m_Config = nullptr;
  bool m_HasSurfaces = true;

  decltype(&eglBindAPI) m_BindApi = nullptr;
  decltype(&eglChooseConfig) m_ChooseConfig = nullptr;
  decltype(&eglCreateContext) m_CreateContext = nullptr;
  decltype(&eglCreatePbufferSurface) m_CreatePbufferSurface = nullptr;
  decltype(&eglDestroyContext) m_DestroyContext = nullptr;
  decltype(&eglDestroySurface) m_DestroySurface = nullptr;
  decltype(&eglGetConfigAttrib) m_GetConfigAttrib = nullptr;
  decltype(&eglGetDisplay) m_GetDisplay = nullptr;
  decltype(&eglGetProcAddress) m_GetProcAddress = nullptr;
  decltype(&eglInitialize) m_Initialize = nullptr;
  decltype(&eglMakeCurrent) m_MakeCurrent = nullptr;
  decltype(&eglQueryString) m_QueryString = nullptr;
  decltype(&eglReleaseThread) m_ReleaseThread = nullptr;
  decltype(&eglTerminate) m_Terminate = nullptr;
};

}  // namespace nubo::headless
