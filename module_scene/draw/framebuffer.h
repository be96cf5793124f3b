// A framebuffer object.
#pragma once

#include <QOpenGLExtraFunctions>

namespace nubo::scene {

/// Framebuffers belong to one context, so one lives only while that is sure to be current.
class Framebuffer {
 public:
  Framebuffer() { QOpenGLContext::currentContext()->extraFunctions()->glGenFramebuffers(1, &m_Name); }
  ~Framebuffer() { QOpenGLContext::currentContext()->extraFunctions()->glDeleteFramebuffers(1, &m_Name); }
  Framebuffer(const Framebuffer&) = delete;
  Framebuffer& operator=(const Framebuffer&) = delete;
  GLuint name() const { return m_Name; }

 private:
  GLuint m_Name = 0;
};

}  // namespace nubo::scene
