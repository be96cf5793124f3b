// Guards for the state of an OpenGL context.
#pragma once

#include <QOpenGLContext>
#include <QOpenGLFramebufferObject>

namespace nubo::grab {

/// Makes a context current and lets go of it again; false if it could not become current.
class CurrentContext {
 public:
  CurrentContext(QOpenGLContext& context, QSurface& surface)
      : m_Context(context), m_IsCurrent(context.makeCurrent(&surface)) {}
  ~CurrentContext() {
    if (m_IsCurrent) m_Context.doneCurrent();
  }
  CurrentContext(const CurrentContext&) = delete;
  CurrentContext& operator=(const CurrentContext&) = delete;
  explicit operator bool() const { return m_IsCurrent; }

 private:
  QOpenGLContext& m_Context;
  const bool m_IsCurrent;
};

/// Binds a framebuffer of the current context and releases it again; false if it could not be bound.
class BoundFramebuffer {
 public:
  explicit BoundFramebuffer(QOpenGLFramebufferObject& framebuffer)
      : m_Framebuffer(framebuffer), m_IsBound(framebuffer.bind()) {}
  ~BoundFramebuffer() {
    if (m_IsBound) m_Framebuffer.release();
  }
  BoundFramebuffer(const BoundFramebuffer&) = delete;
  BoundFramebuffer& operator=(const BoundFramebuffer&) = delete;
  explicit operator bool() const { return m_IsBound; }

 private:
  QOpenGLFramebufferObject& m_Framebuffer;
  const bool m_IsBound;
};

}  // namespace nubo::grab
