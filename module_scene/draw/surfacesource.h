// What surfaces are drawn with, in OpenGL's shading language.
#pragma once

namespace nubo::scene {

// Both shaders follow a #version line, #define lines and the light. To be defined are LIT, BASE_MAP, ROUGHNESS_MAP,
// NORMAL_MAP, OCCLUSION_MAP, EMISSIVE_MAP, OF_CLAY, OF_DRAWING, of CONTACT and EYE_DOME and of MASK and OPAQUE at most
// one, and with LIT and no map PER_VERTEX: light is computed there, with TWO_SIDED
// for back faces, too.
extern const char SurfaceLightSource[];
extern const char SurfaceVertexShader[];
extern const char SurfaceFragmentShader[];

}  // namespace nubo::scene
