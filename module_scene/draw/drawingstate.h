// OpenGL's fixed-function state: what a drawing starts from, and what its caller finds again.
#pragma once

#include <QOpenGLFunctions_2_0>
#include <array>

#include "module_scene/math/matrix.h"

namespace nubo::scene {

/// Of the current context.
QOpenGLFunctions_2_0* functions();

/// Whether the current context's OpenGL has no hardware of its own.
bool isSoftware();

/// Puts back, at the end of a drawing, everything of OpenGL's state that it may touch.
class StateGuard {
 public:
  StateGuard();
  ~StateGuard();
  StateGuard(const StateGuard&) = delete;
  StateGuard& operator=(const StateGuard&) = delete;

  GLuint framebuffer() const { return GLuint(m_DrawFramebuffer); }
  const math::Matrix4& projection() const { return m_Matrices[0]; }
  const math::Matrix4& modelView() const { return m_Matrices[1]; }

 private:
  static constexpr std::array<GLenum, 3> Modes{GL_PROJECTION, GL_MODELVIEW, GL_TEXTURE};
  static constexpr std::array<GLenum, 3> Queries{GL_PROJECTION_MATRIX, GL_MODELVIEW_MATRIX, GL_TEXTURE_MATRIX};
  GLint m_DrawFramebuffer = 0, m_ReadFramebuffer = 0, m_Program = 0, m_ArrayBuffer = 0, m_ElementBuffer = 0;
  std::array<math::Matrix4, 3> m_Matrices;
};

/// Loads one of the three matrices; its mode stays the current one.
void load(GLenum mode, const math::Matrix4& matrix);
/// The state that all drawing starts from, whatever the caller left.
void setUpState();
/// Moves faces back by as much as they fall over so many pixels, so that lines on them are whole.
void setFacesBack(double pixels);
/// A light beside the eye, so that shapes show wherever one looks from, and a little from everywhere.
void setUpLight();

}  // namespace nubo::scene
