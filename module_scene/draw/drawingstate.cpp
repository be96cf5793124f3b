#include "module_scene/draw/drawingstate.h"

#include <QOpenGLExtraFunctions>
#include <cstring>

namespace nubo::scene {

QOpenGLFunctions_2_0* functions() { return QOpenGLContext::currentContext()->versionFunctions<QOpenGLFunctions_2_0>(); }

bool isSoftware() {
  const auto* name = reinterpret_cast<const char*>(glGetString(GL_RENDERER));
  return name && (std::strstr(name, "llvmpipe") || std::strstr(name, "softpipe"));
}

StateGuard::StateGuard() {
  glGetIntegerv(GL_DRAW_FRAMEBUFFER_BINDING, &m_DrawFramebuffer);
  glGetIntegerv(GL_READ_FRAMEBUFFER_BINDING, &m_ReadFramebuffer);
  glGetIntegerv(GL_CURRENT_PROGRAM, &m_Program);
  glGetIntegerv(GL_ARRAY_BUFFER_BINDING, &m_ArrayBuffer);
  glGetIntegerv(GL_ELEMENT_ARRAY_BUFFER_BINDING, &m_ElementBuffer);
  glPushAttrib(GL_ALL_ATTRIB_BITS);
  glPushClientAttrib(GL_CLIENT_ALL_ATTRIB_BITS);
  for (std::size_t i = 0; i < Modes.size(); ++i) glGetDoublev(Queries[i], m_Matrices[i].data());
}

StateGuard::~StateGuard() {
  for (std::size_t i = 0; i < Modes.size(); ++i) {
    glMatrixMode(Modes[i]);
    glLoadMatrixd(m_Matrices[i].data());
  }
  glPopClientAttrib();
  glPopAttrib();
  QOpenGLExtraFunctions* gl = QOpenGLContext::currentContext()->extraFunctions();
  gl->glBindBuffer(GL_ARRAY_BUFFER, GLuint(m_ArrayBuffer));
  gl->glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, GLuint(m_ElementBuffer));
  gl->glUseProgram(GLuint(m_Program));
  gl->glBindFramebuffer(GL_DRAW_FRAMEBUFFER, GLuint(m_DrawFramebuffer));
  gl->glBindFramebuffer(GL_READ_FRAMEBUFFER, GLuint(m_ReadFramebuffer));
}

void load(GLenum mode, const math::Matrix4& matrix) {
  glMatrixMode(mode);
  glLoadMatrixd(matrix.data());
}

void setUpState() {
  QOpenGLFunctions_2_0* gl = functions();
  gl->glUseProgram(0);
  gl->glActiveTexture(GL_TEXTURE0);
  gl->glClientActiveTexture(GL_TEXTURE0);
  for (const GLenum off : {GL_ALPHA_TEST, GL_BLEND, GL_CLIP_PLANE0, GL_COLOR_LOGIC_OP, GL_CULL_FACE, GL_DITHER, GL_FOG,
                           GL_LINE_SMOOTH, GL_LINE_STIPPLE, GL_POINT_SMOOTH, GL_POLYGON_OFFSET_FILL, GL_POLYGON_SMOOTH,
                           GL_POLYGON_STIPPLE, GL_SCISSOR_TEST, GL_STENCIL_TEST, GL_TEXTURE_2D})
    glDisable(off);
  for (const GLenum on : {GL_DEPTH_TEST, GL_MULTISAMPLE, GL_NORMALIZE}) glEnable(on);
  glDepthFunc(GL_LEQUAL);
  glDepthMask(GL_TRUE);
  glClearDepth(1.0);
  glClearStencil(0);
  glStencilMask(~0u);
  glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
  glPolygonMode(GL_FRONT_AND_BACK, GL_FILL);
  glShadeModel(GL_SMOOTH);
  glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_MODULATE);
  // The other mode in use: colours multiplied, alpha left as it is.
  glTexEnvi(GL_TEXTURE_ENV, GL_COMBINE_RGB, GL_MODULATE);
  glTexEnvi(GL_TEXTURE_ENV, GL_SRC0_RGB, GL_TEXTURE);
  glTexEnvi(GL_TEXTURE_ENV, GL_SRC1_RGB, GL_PREVIOUS);
  glTexEnvi(GL_TEXTURE_ENV, GL_COMBINE_ALPHA, GL_REPLACE);
  glTexEnvi(GL_TEXTURE_ENV, GL_SRC0_ALPHA, GL_PREVIOUS);
  load(GL_TEXTURE, math::Matrix4());
}

void setFacesBack(double pixels) {
  glEnable(GL_POLYGON_OFFSET_FILL);
  glPolygonOffset(GLfloat(pixels), 1);
}

void setUpLight() {
  constexpr GLfloat Direction[] = {-0.25f, 0.4f, 1.0f, 0.0f};
  constexpr GLfloat Diffuse[] = {0.85f, 0.85f, 0.85f, 1.0f};
  constexpr GLfloat White[] = {1, 1, 1, 1};
  constexpr GLfloat Black[] = {0, 0, 0, 1};
  constexpr GLfloat Ambient[] = {0.22f, 0.22f, 0.22f, 1.0f};
  load(GL_MODELVIEW, math::Matrix4());
  glLightfv(GL_LIGHT0, GL_POSITION, Direction);
  glLightfv(GL_LIGHT0, GL_AMBIENT, Black);
  glLightfv(GL_LIGHT0, GL_DIFFUSE, Diffuse);
  glLightfv(GL_LIGHT0, GL_SPECULAR, White);
  glLightModelfv(GL_LIGHT_MODEL_AMBIENT, Ambient);
  glEnable(GL_LIGHT0);
}

}  // namespace nubo::scene
