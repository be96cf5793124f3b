// What surfaces are drawn with, in OpenGL's shading language.
#pragma once

namespace nubo::scene {

// Both follow a #version line and #define lines: LIT, BASE_MAP, ROUGHNESS_MAP, NORMAL_MAP, OCCLUSION_MAP, EMISSIVE_MAP,
// OF_CLAY,
// OF_DRAWING, and of MASK and OPAQUE at most one.
extern const char SurfaceVertexShader[];
extern const char SurfaceFragmentShader[];

}  // namespace nubo::scene
