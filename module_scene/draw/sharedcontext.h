// The OpenGL context whose objects all others share.
#pragma once

#include <QMutex>
#include <memory>

#include "module_scene/visibility.h"

QT_BEGIN_NAMESPACE
class QOpenGLContext;
class QOffscreenSurface;
QT_END_NAMESPACE

namespace nubo::scene {

/// Owned by the viewer; created and destroyed on the application thread. Other contexts take its
/// format and share its objects; it is made current itself only to release them.
class NUBO_MODULE_SCENE_EXPORT SharedContext {
 public:
  SharedContext();
  ~SharedContext();
  /// Null if OpenGL is not to be had (logged once).
  QOpenGLContext* glContext() const { return mp_Context.get(); }
  bool hasFramebufferObjects() const { return m_HasFramebufferObjects; }
  /// How many pixels a side of a texture may have, and so a side of what is drawn at once; 0 without OpenGL.
  int largestTexture() const { return m_LargestTexture; }
  /// Exclusive use; recursive. Taken before the scene's lock and released after it.
  void lock() { m_Mutex.lock(); }
  void unlock() { m_Mutex.unlock(); }

 private:
  std::unique_ptr<QOffscreenSurface> mp_Surface;
  std::unique_ptr<QOpenGLContext> mp_Context;  // goes before its surface
  bool m_HasFramebufferObjects = false;
  int m_LargestTexture = 0;
  QRecursiveMutex m_Mutex;
};

/// The viewer's shared context; null before there is a viewer and after it is gone. Any thread.
NUBO_MODULE_SCENE_EXPORT SharedContext* _GlobalContext();
/// Makes a context that one, or none (null). Its owner keeps it for as long.
void setGlobalContext(SharedContext* context);

}  // namespace nubo::scene
