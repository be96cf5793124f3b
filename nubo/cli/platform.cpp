#include "nubo/cli/platform.h"

#include <QByteArray>
#include <QFile>
#include <QFileInfo>
#include <QGuiApplication>
#include <QLibrary>
#include <QOpenGLContext>

#include "plugins/platforms/headless/egl.h"

namespace nubo::app {

namespace {

// Qt ends the program when a display cannot be reached, so it must be tried before.
bool hasXDisplay() {
  struct Connection;
  QLibrary xcb(QStringLiteral("xcb"), 1);
  if (qEnvironmentVariableIsEmpty("DISPLAY") || !xcb.load()) return false;
  const auto connect = reinterpret_cast<Connection* (*)(const char*, int*)>(xcb.resolve("xcb_connect"));
  const auto hasError = reinterpret_cast<int (*)(Connection*)>(xcb.resolve("xcb_connection_has_error"));
  const auto disconnect = reinterpret_cast<void (*)(Connection*)>(xcb.resolve("xcb_disconnect"));
  if (!connect || !hasError || !disconnect) return false;
  Connection* connection = connect(nullptr, nullptr);
  const bool works = hasError(connection) == 0;
  disconnect(connection);
  return works;
}

}  // namespace

QString pluginFolder() { return QFileInfo(QFile::symLinkTarget("/proc/self/exe")).path() + "/plugins"; }

bool isPlatformChosen() { return !qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"); }

QString choosePlatform() {
  if (isPlatformChosen()) return QString();
  const headless::Egl egl;
  const bool useX = !egl.isValid() && hasXDisplay();
  qputenv("QT_QPA_PLATFORM", useX ? "xcb" : "headless");
  return egl.isValid() || useX ? QString() : egl.error() + ", or set DISPLAY to an X display";
}

QString whyPlatformCannotDraw() {
  QOpenGLContext context;
  if (context.create()) return QString();
  return QStringLiteral("QT_QPA_PLATFORM=%1 has no OpenGL; without that variable a platform is found that has")
      .arg(QGuiApplication::platformName());
}

QString checkDisplay() {
  if (isPlatformChosen() || !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") || hasXDisplay()) return QString();
  if (qEnvironmentVariableIsEmpty("DISPLAY"))
    return QStringLiteral(
        "a window needs a display, and neither DISPLAY nor WAYLAND_DISPLAY names one; "
        "without a window, give a command (see nubo --help)");
  return QStringLiteral("the display %1 cannot be reached").arg(qEnvironmentVariable("DISPLAY"));
}

}  // namespace nubo::app
