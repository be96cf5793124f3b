// Textures that are drawn into.
#pragma once

#include "module_scene/draw/sharedname.h"

namespace nubo::scene {

/// A texture of bytes, red, green, blue and alpha, or of depths. Binds it.
SharedName makeColorMap(int width, int height, GLenum filter = GL_NEAREST);
SharedName makeDepthMap(int width, int height);
/// Binds the framebuffer for drawing into both; `depths` may be 0. False if OpenGL cannot.
[[nodiscard]] bool drawInto(GLuint framebuffer, GLuint colors, GLuint depths, int width, int height);

}  // namespace nubo::scene
