// An OpenGL context of its own with a surface to be current on, for work away from any window.
#pragma once

#include <QtGlobal>
#include <memory>

#include "picture/visibility.h"

QT_BEGIN_NAMESPACE
class QOffscreenSurface;
class QOpenGLContext;
QT_END_NAMESPACE

namespace nubo::picture {

/// Belongs to the thread that makes it, and is used and destroyed there; the Qt objects inside are created and
/// deleted on the application thread, so that thread must not be waiting for the caller's locks meanwhile.
class NUBO_PICTURE_EXPORT OffscreenContext {
 public:
  /// Shares objects with `share` and takes the surface's format from it; null: shares with nobody.
  explicit OffscreenContext(QOpenGLContext* share);
  ~OffscreenContext();
  OffscreenContext(const OffscreenContext&) = delete;
  OffscreenContext& operator=(const OffscreenContext&) = delete;

  /// False if OpenGL gave no context, or the program is ending.
  [[nodiscard]] bool isValid() const { return mp_Context != nullptr; }
  [[nodiscard]] bool makeCurrent();
  /// Current no more, and without its surface. Does not wait for the application thread.
  void release();

 private:
  void doneCurrent();

  std::unique_ptr<QOpenGLContext> mp_Context;
  std::unique_ptr<QOffscreenSurface> mp_Surface;
};

}  // namespace nubo::picture
