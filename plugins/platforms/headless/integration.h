// Qt's off-screen platform with OpenGL added.
#pragma once

#include <qpa/qplatformintegration.h>

#include <memory>
#include <mutex>

#include "plugins/platforms/headless/egl.h"

namespace nubo::headless {

/// Hands everything but OpenGL through to Qt's own integration `offscreen`.
class Integration : public QPlatformIntegration {
 public:
  explicit Integration(std::unique_ptr<QPlatformIntegration> offscreen);
  ~Integration() override;

  bool hasCapability(Capability capability) const override;
  /// Null, with one warning that says what to install, where there is no EGL.
  QPlatformOpenGLContext* createPlatformOpenGLContext(QOpenGLContext* context) const override;
  /// Needs no window, so that it can be made on any thread.
  QPlatformOffscreenSurface* createPlatformOffscreenSurface(QOffscreenSurface* surface) const override;

  void initialize() override { m_Offscreen->initialize(); }
  void destroy() override { m_Offscreen->destroy(); }
  QPlatformPixmap* createPlatformPixmap(QPlatformPixmap::PixelType type) const override {
    return m_Offscreen->createPlatformPixmap(type);
  }
  QPlatformWindow* createPlatformWindow(QWindow* window) const override {
    return m_Offscreen->createPlatformWindow(window);
  }
  QPlatformBackingStore* createPlatformBackingStore(QWindow* window) const override {
    return m_Offscreen->createPlatformBackingStore(window);
  }
  QPaintEngine* createImagePaintEngine(QPaintDevice* device) const override {
    return m_Offscreen->createImagePaintEngine(device);
  }
  QAbstractEventDispatcher* createEventDispatcher() const override { return m_Offscreen->createEventDispatcher(); }
  QPlatformFontDatabase* fontDatabase() const override { return m_Offscreen->fontDatabase(); }
  QPlatformClipboard* clipboard() const override { return m_Offscreen->clipboard(); }
  QPlatformDrag* drag() const override { return m_Offscreen->drag(); }
  QPlatformInputContext* inputContext() const override { return m_Offscreen->inputContext(); }
  QPlatformAccessibility* accessibility() const override { return m_Offscreen->accessibility(); }
  QPlatformNativeInterface* nativeInterface() const override { return m_Offscreen->nativeInterface(); }
  QPlatformServices* services() const override { return m_Offscreen->services(); }
  QVariant styleHint(StyleHint hint) const override { return m_Offscreen->styleHint(hint); }
  Qt::WindowState defaultWindowState(Qt::WindowFlags flags) const override {
    return m_Offscreen->defaultWindowState(flags);
  }
  Qt::KeyboardModifiers queryKeyboardModifiers() const override { return m_Offscreen->queryKeyboardModifiers(); }
  QList<int> possibleKeys(const QKeyEvent* event) const override { return m_Offscreen->possibleKeys(event); }
  QStringList themeNames() const override { return m_Offscreen->themeNames(); }
  QPlatformTheme* createPlatformTheme(const QString& name) const override {
    return m_Offscreen->createPlatformTheme(name);
  }
  QPlatformSessionManager* createPlatformSessionManager(const QString& id, const QString& key) const override {
    return m_Offscreen->createPlatformSessionManager(id, key);
  }
  void sync() override { m_Offscreen->sync(); }

 private:
  const Egl& egl() const;

  std::unique_ptr<QPlatformIntegration> m_Offscreen;
  mutable std::once_flag m_EglOnce;
  mutable std::unique_ptr<Egl> m_Egl;  ///< made with the first context, which may be on any thread
};

}  // namespace nubo::headless
