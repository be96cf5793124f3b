// Programs for OpenGL's shaders.
#pragma once

#include <QByteArray>
#include <vector>

#include "module_scene/draw/sharedname.h"

namespace nubo::scene {

/// A generic attribute of vertices, where the caller means to set it. One that a program does not have is passed over.
struct Attribute {
  GLuint location;
  const char* name;
};

/// Compiles and links two shaders for the share group of the current context. Without a name if OpenGL cannot; what it
/// says is appended to `messages` then, if there is such.
SharedName linkProgram(const QByteArray& vertexShader, const QByteArray& fragmentShader, QByteArray* messages = nullptr,
                       const std::vector<Attribute>& attributes = {});

}  // namespace nubo::scene
