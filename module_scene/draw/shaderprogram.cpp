#include "module_scene/draw/shaderprogram.h"

#include <QOpenGLFunctions>

namespace nubo::scene {

namespace {

GLuint compile(QOpenGLFunctions* gl, GLenum type, const QByteArray& source, QByteArray* messages) {
  const GLuint shader = gl->glCreateShader(type);
  const char* text = source.constData();
  gl->glShaderSource(shader, 1, &text, nullptr);
  gl->glCompileShader(shader);
  GLint compiled = GL_FALSE, length = 0;
  gl->glGetShaderiv(shader, GL_COMPILE_STATUS, &compiled);
  gl->glGetShaderiv(shader, GL_INFO_LOG_LENGTH, &length);
  if (!compiled && messages && length > 0) {
    QByteArray said(length, '\0');
    gl->glGetShaderInfoLog(shader, length, nullptr, said.data());
    messages->append(said.constData());
  }
  return shader;
}

}  // namespace

SharedName linkProgram(const QByteArray& vertexShader, const QByteArray& fragmentShader, QByteArray* messages) {
  QOpenGLFunctions* gl = QOpenGLContext::currentContext()->functions();
  SharedName program(gl->glCreateProgram(), [](QOpenGLFunctions* f, GLuint id) { f->glDeleteProgram(id); });
  for (const GLuint shader : {compile(gl, GL_VERTEX_SHADER, vertexShader, messages),
                              compile(gl, GL_FRAGMENT_SHADER, fragmentShader, messages)}) {
    gl->glAttachShader(program.name(), shader);
    gl->glDeleteShader(shader);  // goes with the program
  }
  gl->glLinkProgram(program.name());
  GLint linked = GL_FALSE;
  gl->glGetProgramiv(program.name(), GL_LINK_STATUS, &linked);
  return linked ? std::move(program) : SharedName();
}

}  // namespace nubo::scene
