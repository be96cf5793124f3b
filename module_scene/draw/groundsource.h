// What a shadow on the ground is computed with, in OpenGL's shading language.
#pragma once

namespace nubo::scene {

extern const char GroundMapVertexShader[], GatherShader[], GroundSmoothingShader[];
extern const char GroundVertexShader[], GroundShader[];

}  // namespace nubo::scene
