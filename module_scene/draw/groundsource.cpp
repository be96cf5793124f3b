#include "module_scene/draw/groundsource.h"

namespace nubo::scene {

const char GroundMapVertexShader[] = R"(#version 120
void main() { gl_Position = gl_Vertex; }
)";

// The share of an even sky that is hidden from a place on the ground. What stands at some distance in one direction
// hides the sky between its lower and its upper end, as does all between those of several; what an even sky sends from
// below an elevation onto level ground is the square of its sine. All lengths are in texels; distances grow by the same
// factor, and directions are turned differently in each of 4 x 4 texels. Heights are seen from below and from above,
// which mirrors them.
const char GatherShader[] = R"(#version 120
uniform sampler2D undersides, tops;
uniform float texel, height;
const int Rings = 11;
const float Growth = 1.6;

float squaredSine(float distance, float h) { return h * h / (distance * distance + h * h); }

void add(vec2 at, float distance, inout vec2 hidden) {
  float depth = texture2D(undersides, at * texel).r;
  if (depth >= 1.0) return;
  float top = 1.0 - texture2D(tops, vec2(1.0 - at.x * texel, at.y * texel)).r;
  hidden.x = min(hidden.x, squaredSine(distance, depth * height));
  hidden.y = max(hidden.y, squaredSine(distance, top * height));
}

void main() {
  float sum = 0.0;
  vec2 cell = mod(floor(gl_FragCoord.xy), 4.0);
  float turn = mod(cell.x * 4.0 + cell.y * 9.0, 16.0) / 16.0;
  for (int i = 0; i < 8; ++i) {
    float angle = 0.7853982 * (float(i) + turn);
    vec2 direction = vec2(cos(angle), sin(angle));
    vec2 hidden = vec2(1.0, 0.0);
    add(gl_FragCoord.xy, 0.35, hidden);
    float distance = 0.7;
    for (int ring = 0; ring < Rings; ++ring) {
      float place = distance * pow(Growth, turn);
      add(gl_FragCoord.xy + place * direction, place, hidden);
      distance *= Growth;
    }
    sum += max(hidden.y - hidden.x, 0.0) / 8.0;
  }
  vec2 fromBorder = 0.5 - abs(gl_FragCoord.xy * texel - 0.5);
  gl_FragColor = vec4(0.0, 0.0, 0.0, 0.6 * sum * smoothstep(0.0, 0.2, min(fromBorder.x, fromBorder.y)));
}
)";

// The mean of 5 x 5 texels, in which those at the border count half, so that each turn counts once.
const char GroundSmoothingShader[] = R"(#version 120
uniform sampler2D shadows;
uniform float texel;
void main() {
  float sum = 0.0;
  for (int x = -2; x <= 2; ++x)
    for (int y = -2; y <= 2; ++y) {
      float weight = (abs(float(x)) > 1.5 ? 0.5 : 1.0) * (abs(float(y)) > 1.5 ? 0.5 : 1.0);
      sum += weight * texture2D(shadows, (gl_FragCoord.xy + vec2(float(x), float(y))) * texel).a;
    }
  gl_FragColor = vec4(0.0, 0.0, 0.0, sum / 16.0);
}
)";

const char GroundVertexShader[] = R"(#version 120
varying vec2 place;
void main() {
  gl_Position = ftransform();
  place = gl_MultiTexCoord0.xy;
}
)";

const char GroundShader[] = R"(#version 120
uniform sampler2D shadow;
varying vec2 place;
void main() { gl_FragColor = vec4(0.0, 0.0, 0.0, texture2D(shadow, place).a); }
)";

}  // namespace nubo::scene
