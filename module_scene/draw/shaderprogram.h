// Programs for OpenGL's shaders.
#pragma once

#include <QByteArray>

#include "module_scene/draw/sharedname.h"

namespace nubo::scene {

/// Compiles and links two shaders for the share group of the current context. Without a name if OpenGL cannot; what it
/// says is appended to `messages` then, if there is such.
SharedName linkProgram(const QByteArray& vertexShader, const QByteArray& fragmentShader,
                       QByteArray* messages = nullptr);

}  // namespace nubo::scene
