// An OpenGL object that may be dropped on any thread, with or without a context.
#pragma once

#include <private/qopenglcontext_p.h>

#include <QOpenGLFunctions>
#include <utility>

namespace nubo::scene {

/// Owns the name of an object that contexts share (not of a framebuffer). When dropped, Qt deletes the
/// name as soon as a context of the share group is current, or forgets it with the group.
class SharedName {
 public:
  using Release = QOpenGLSharedResourceGuard::FreeResourceFunc;

  SharedName() = default;
  /// With the share group of the current context.
  SharedName(GLuint name, Release release)
      : mp_Guard(new QOpenGLSharedResourceGuard(QOpenGLContext::currentContext(), name, release)) {}
  ~SharedName() { reset(); }
  SharedName(SharedName&& other) noexcept : mp_Guard(std::exchange(other.mp_Guard, nullptr)) {}
  SharedName& operator=(SharedName&& other) noexcept {
    std::swap(mp_Guard, other.mp_Guard);
    return *this;
  }

  /// 0 if there is none, or none any more.
  GLuint name() const { return mp_Guard ? mp_Guard->id() : 0; }
  /// Whether the current context is one of those that share the object.
  bool isUsable() const { return name() && mp_Guard->group() == QOpenGLContext::currentContext()->shareGroup(); }
  void reset() {
    if (QOpenGLSharedResourceGuard* guard = std::exchange(mp_Guard, nullptr)) guard->free();
  }

  static SharedName buffer() {
    GLuint name = 0;
    QOpenGLContext::currentContext()->functions()->glGenBuffers(1, &name);
    return {name, [](QOpenGLFunctions* gl, GLuint id) { gl->glDeleteBuffers(1, &id); }};
  }
  static SharedName texture() {
    GLuint name = 0;
    QOpenGLContext::currentContext()->functions()->glGenTextures(1, &name);
    return {name, [](QOpenGLFunctions* gl, GLuint id) { gl->glDeleteTextures(1, &id); }};
  }
  static SharedName renderbuffer() {
    GLuint name = 0;
    QOpenGLContext::currentContext()->functions()->glGenRenderbuffers(1, &name);
    return {name, [](QOpenGLFunctions* gl, GLuint id) { gl->glDeleteRenderbuffers(1, &id); }};
  }

 private:
  QOpenGLSharedResourceGuard* mp_Guard = nullptr;  // deletes itself
};

}  // namespace nubo::scene
