#include "module_scene/draw/rendermap.h"

#include <QOpenGLExtraFunctions>

namespace nubo::scene {

namespace {

SharedName makeTexture(GLint kept, GLenum format, GLenum type, int width, int height, GLenum filter) {
  SharedName result = SharedName::texture();
  QOpenGLContext::currentContext()->functions()->glBindTexture(GL_TEXTURE_2D, result.name());
  for (const GLenum parameter : {GL_TEXTURE_MIN_FILTER, GL_TEXTURE_MAG_FILTER})
    glTexParameteri(GL_TEXTURE_2D, parameter, GLint(filter));
  for (const GLenum parameter : {GL_TEXTURE_WRAP_S, GL_TEXTURE_WRAP_T})
    glTexParameteri(GL_TEXTURE_2D, parameter, GL_CLAMP_TO_EDGE);
  glTexImage2D(GL_TEXTURE_2D, 0, kept, width, height, 0, format, type, nullptr);
  return result;
}

}  // namespace

SharedName makeColorMap(int width, int height, GLenum filter) {
  return makeTexture(GL_RGBA8, GL_RGBA, GL_UNSIGNED_BYTE, width, height, filter);
}

SharedName makeDepthMap(int width, int height) {
  SharedName result = makeTexture(GL_DEPTH_COMPONENT24, GL_DEPTH_COMPONENT, GL_UNSIGNED_INT, width, height, GL_NEAREST);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_COMPARE_MODE, GL_NONE);
  glTexParameteri(GL_TEXTURE_2D, GL_DEPTH_TEXTURE_MODE, GL_LUMINANCE);
  return result;
}

bool drawInto(GLuint framebuffer, GLuint colors, GLuint depths, int width, int height) {
  QOpenGLExtraFunctions* gl = QOpenGLContext::currentContext()->extraFunctions();
  gl->glBindFramebuffer(GL_FRAMEBUFFER, framebuffer);
  gl->glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, colors, 0);
  gl->glFramebufferTexture2D(GL_FRAMEBUFFER, GL_DEPTH_ATTACHMENT, GL_TEXTURE_2D, depths, 0);
  glViewport(0, 0, width, height);
  return gl->glCheckFramebufferStatus(GL_FRAMEBUFFER) == GL_FRAMEBUFFER_COMPLETE;
}

}  // namespace nubo::scene
