// What the light between surfaces is computed with, in OpenGL's shading language.
#pragma once

namespace nubo::scene {

extern const char ContactVertexShader[];
extern const char DirectionShader[];
extern const char OcclusionShader[];
extern const char SmoothingShader[];

}  // namespace nubo::scene
