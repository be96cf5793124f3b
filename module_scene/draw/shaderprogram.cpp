#include "module_scene/draw/shaderprogram.h"

#include <QOpenGLFunctions>

namespace nubo::scene {

namespace {

/// 0 if that fails, also where OpenGL knows no shaders of that type.
GLuint compile(QOpenGLFunctions* gl, GLenum type, const QByteArray& source, QByteArray* messages) {
  const GLuint shader = gl->glCreateShader(type);
  if (!shader) {
    if (messages) messages->append("there are no shaders of a type");
    return 0;
  }
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
  if (compiled) return shader;
  gl->glDeleteShader(shader);
  return 0;
}

}  // namespace

SharedName linkProgram(const QByteArray& vertexShader, const QByteArray& fragmentShader, QByteArray* messages,
                       const std::vector<Attribute>& attributes) {
  QOpenGLFunctions* gl = QOpenGLContext::currentContext()->functions();
  SharedName program(gl->glCreateProgram(), [](QOpenGLFunctions* f, GLuint id) { f->glDeleteProgram(id); });
  const GLuint shaders[]{compile(gl, GL_VERTEX_SHADER, vertexShader, messages),
                         compile(gl, GL_FRAGMENT_SHADER, fragmentShader, messages)};
  for (const GLuint shader : shaders) {
    if (!shader) continue;
    gl->glAttachShader(program.name(), shader);
    gl->glDeleteShader(shader);  // goes with the program
  }
  // What lacks one of them may be linked, and would draw something else.
  if (!shaders[0] || !shaders[1]) return {};
  for (const auto& [location, name] : attributes) gl->glBindAttribLocation(program.name(), location, name);
  gl->glLinkProgram(program.name());
  GLint linked = GL_FALSE;
  gl->glGetProgramiv(program.name(), GL_LINK_STATUS, &linked);
  return linked ? std::move(program) : SharedName();
}

}  // namespace nubo::scene
