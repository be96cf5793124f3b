#include "plugins/platforms/headless/egl.h"

#include <QByteArray>
#include <QList>
#include <array>
#include <vector>

namespace nubo::headless {

Egl::Egl() : m_Library(QStringLiteral("EGL"), 1) {
  if (!load())
    m_Error = QStringLiteral("OpenGL needs libEGL.so.1, which cannot be loaded: install libegl1 and libgl1-mesa-dri");
  else if (!openAny())
    m_Error = QStringLiteral("EGL has no display with desktop OpenGL: install libegl-mesa0 and libgl1-mesa-dri");
}

template <class Function>
bool Egl::resolve(Function& function, const char* name) {
  function = reinterpret_cast<Function>(m_Library.resolve(name));
  return function;
}

bool Egl::load() {
  // The driver behind the library keeps threads and exit handlers, so the library must stay.
  m_Library.setLoadHints(QLibrary::PreventUnloadHint);
  return m_Library.load() && resolve(m_BindApi, "eglBindAPI") && resolve(m_ChooseConfig, "eglChooseConfig") &&
         resolve(m_CreateContext, "eglCreateContext") && resolve(m_CreatePbufferSurface, "eglCreatePbufferSurface") &&
         resolve(m_DestroyContext, "eglDestroyContext") && resolve(m_DestroySurface, "eglDestroySurface") &&
         resolve(m_GetConfigAttrib, "eglGetConfigAttrib") && resolve(m_GetDisplay, "eglGetDisplay") &&
         resolve(m_GetProcAddress, "eglGetProcAddress") && resolve(m_Initialize, "eglInitialize") &&
         resolve(m_MakeCurrent, "eglMakeCurrent") && resolve(m_QueryString, "eglQueryString") &&
         resolve(m_ReleaseThread, "eglReleaseThread") && resolve(m_Terminate, "eglTerminate");
}

bool Egl::hasExtension(EGLDisplay display, const char* name) const {
  return QByteArray(m_QueryString(display, EGL_EXTENSIONS)).split(' ').contains(name);
}

bool Egl::openAny() {
  const auto platformDisplay =
      reinterpret_cast<PFNEGLGETPLATFORMDISPLAYEXTPROC>(m_GetProcAddress("eglGetPlatformDisplayEXT"));
  const auto queryDevices = reinterpret_cast<PFNEGLQUERYDEVICESEXTPROC>(m_GetProcAddress("eglQueryDevicesEXT"));
  const auto queryDevice =
      reinterpret_cast<PFNEGLQUERYDEVICESTRINGEXTPROC>(m_GetProcAddress("eglQueryDeviceStringEXT"));
  if (!platformDisplay || !hasExtension(EGL_NO_DISPLAY, "EGL_EXT_platform_base"))
    return open(m_GetDisplay(EGL_DEFAULT_DISPLAY));

  std::array<EGLDeviceEXT, 32> devices{};
  EGLint count = 0;
  if (!queryDevices || !queryDevice || !hasExtension(EGL_NO_DISPLAY, "EGL_EXT_platform_device") ||
      !queryDevices(EGLint(devices.size()), devices.data(), &count))
    count = 0;
  // Cards come before the surfaceless platform, which may be another vendor's and only know software.
  const auto openDevice = [&](bool software) {
    for (EGLint i = 0; i < count; ++i) {
      const QByteArray extensions = queryDevice(devices[i], EGL_EXTENSIONS);
      if (extensions.split(' ').contains("EGL_MESA_device_software") == software &&
          open(platformDisplay(EGL_PLATFORM_DEVICE_EXT, devices[i], nullptr)))
        return true;
    }
    return false;
  };
  return openDevice(false) ||
         (hasExtension(EGL_NO_DISPLAY, "EGL_MESA_platform_surfaceless") &&
          open(platformDisplay(EGL_PLATFORM_SURFACELESS_MESA, nullptr, nullptr))) ||
         openDevice(true) || open(m_GetDisplay(EGL_DEFAULT_DISPLAY));
}

bool Egl::open(EGLDisplay display) {
  if (display == EGL_NO_DISPLAY || !m_Initialize(display, nullptr, nullptr)) return false;
  m_Display = display;
  const bool surfaceless = hasExtension(display, "EGL_KHR_surfaceless_context");
  for (const bool withSurfaces : {true, false}) {
    if (!withSurfaces && !surfaceless) break;
    const EGLint wanted[] = {EGL_SURFACE_TYPE,
                             withSurfaces ? EGL_PBUFFER_BIT : 0,
                             EGL_RENDERABLE_TYPE,
                             EGL_OPENGL_BIT,
                             EGL_RED_SIZE,
                             8,
                             EGL_GREEN_SIZE,
                             8,
                             EGL_BLUE_SIZE,
                             8,
                             EGL_ALPHA_SIZE,
                             8,
                             EGL_NONE};
    EGLint count = 0;
    m_HasSurfaces = withSurfaces;
    if (!m_ChooseConfig(display, wanted, &m_Config, 1, &count) || count == 0) continue;
    const EGLContext context = createContext(EGL_NO_CONTEXT);
    const EGLSurface surface = createSurface();
    const bool works = context && (surface || !withSurfaces);
    destroy(context, surface);
    if (works) return true;
  }
  m_Terminate(display);
  m_Display = EGL_NO_DISPLAY;
  return false;
}

EGLContext Egl::createContext(EGLContext share) const {
  // Without attributes drivers give the newest compatibility profile. The API bound is the thread's own.
  if (!isValid() || !m_BindApi(EGL_OPENGL_API)) return EGL_NO_CONTEXT;
  return m_CreateContext(m_Display, m_Config, share, nullptr);
}

EGLSurface Egl::createSurface() const {
  if (!isValid() || !m_HasSurfaces) return EGL_NO_SURFACE;
  const EGLint size[] = {EGL_WIDTH, 1, EGL_HEIGHT, 1, EGL_NONE};
  return m_CreatePbufferSurface(m_Display, m_Config, size);
}

void Egl::destroy(EGLContext context, EGLSurface surface) const {
  if (surface != EGL_NO_SURFACE) m_DestroySurface(m_Display, surface);
  if (context != EGL_NO_CONTEXT) m_DestroyContext(m_Display, context);
}

bool Egl::makeCurrent(EGLContext context, EGLSurface surface) const {
  return m_BindApi(EGL_OPENGL_API) && m_MakeCurrent(m_Display, surface, surface, context);
}

EGLint Egl::attribute(EGLint name) const {
  EGLint value = 0;
  m_GetConfigAttrib(m_Display, m_Config, name, &value);
  return value;
}

QFunctionPointer Egl::function(const char* name) const {
  return reinterpret_cast<QFunctionPointer>(m_GetProcAddress(name));
}

}  // namespace nubo::headless
