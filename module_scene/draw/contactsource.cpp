#include "module_scene/draw/contactsource.h"

namespace nubo::scene {

const char ContactVertexShader[] = R"(#version 120
void main() { gl_Position = gl_Vertex; }
)";

// The direction in which a face looks, whatever its normals, is how depths change from texel to texel. A plane's are a
// straight line of the window's coordinates: on each axis that neighbour lies on the same face from which, and from the
// one behind it, such a line leads to the texel's own. Points before it leave none. Alpha tells whether it is sure.
const char DirectionShader[] = R"(#version 120
uniform sampler2D depths, points;
uniform vec2 texels;
uniform vec4 depthRows;  // of the projection: what makes z and w, each of z and 1
uniform vec4 window;     // half its width and height; 1, 0 with an eye and 0, 1 without

float depthAt(vec2 at) { return texture2D(depths, at * texels).r; }

vec3 placeOf(vec2 at, float depth) {
  float clip = 2.0 * depth - 1.0;
  float z = (depthRows.y - clip * depthRows.w) / (clip * depthRows.z - depthRows.x);
  return vec3((2.0 * at * texels - 1.0) * window.xy * (window.w - window.z * z), z);
}

// From texel to texel, and by how much the better line misses.
vec4 change(vec3 p, float depth, vec2 step) {
  vec2 at = gl_FragCoord.xy;
  vec2 before = vec2(depthAt(at - step), depthAt(at - 2.0 * step)), after = vec2(depthAt(at + step), depthAt(at + 2.0 * step));
  float offBefore = abs(2.0 * before.x - before.y - depth), offAfter = abs(2.0 * after.x - after.y - depth);
  bool backwards = offBefore < offAfter;
  vec3 next = backwards ? placeOf(at - step, before.x) : placeOf(at + step, after.x);
  float off = backwards ? placeOf(at, 2.0 * before.x - before.y).z : placeOf(at, 2.0 * after.x - after.y).z;
  return vec4(backwards ? p - next : next - p, abs(off - p.z));
}

void main() {
  float depth = depthAt(gl_FragCoord.xy);
  vec3 p = placeOf(gl_FragCoord.xy, depth);
  vec4 right = change(p, depth, vec2(1.0, 0.0)), up = change(p, depth, vec2(0.0, 1.0));
  vec3 n = normalize(cross(right.xyz, up.xyz));
  float texel = 2.0 * window.y * texels.y * (window.w - window.z * p.z);
  gl_FragColor = vec4((0.5 + 0.5 * n) * step(depth, texture2D(points, gl_FragCoord.xy * texels).r),
                      step(max(right.w - 0.3 * abs(right.z), up.w - 0.3 * abs(up.z)), 0.5 * texel));
}
)";

// Scalable ambient obscurance (McGuire, Mara, Luebke 2012): how much of a sphere's surroundings stands above the
// surface, weighted so that it falls off smoothly, from places on a spiral that is turned differently in each of 4 x 4
// texels. Points have no surface; they are shaded by how far the places around them stand before them (Boucheny 2009),
// and hide nothing from a surface: between them all is open, which so few places cannot tell. A depth is kept in three
// bytes. How dark it is, which is more than all of the light in a corner, becomes light only once its mean is taken.
const char OcclusionShader[] = R"(#version 120
uniform sampler2D depths, directions, points;
uniform vec2 texels;
uniform vec4 depthRows, window;  // as above

const float Radius = 0.18;  // in eye space, where a model's is about 1
const float Most = 0.14;    // of the map's height, that it may take
const float Least = 5.0;    // texels
uniform int places, around;  // how many are looked at
const float MostDark = 4.0;

float spread(float z) { return window.w - window.z * z; }

vec3 placeOf(vec2 at, float depth) {
  float clip = 2.0 * depth - 1.0;
  float z = (depthRows.y - clip * depthRows.w) / (clip * depthRows.z - depthRows.x);
  return vec3((2.0 * at * texels - 1.0) * window.xy * spread(z), z);
}

vec3 placeAt(vec2 at) { return placeOf(at, texture2D(depths, at * texels).r); }

float obscurance(vec3 p, vec3 n) {
  float texel = 2.0 * window.y * texels.y * spread(p.z);
  float reach = clamp(Radius / texel, Least, Most / texels.y);
  float radius = reach * texel;
  vec2 cell = mod(floor(gl_FragCoord.xy), 4.0);
  float turn = mod(cell.x * 4.0 + cell.y * 9.0, 16.0) / 16.0;
  float angle = 6.2831853 * (0.125 + 1.25 * turn);
  // Half a turn from each place to the next.
  vec2 towards = reach * vec2(cos(angle), sin(angle));
  float sum = 0.0;
  for (int i = 0; i < places; ++i) {
    float share = (float(i) + 0.5 + 0.5 * (turn - 0.5)) / float(places);
    vec2 at = floor(gl_FragCoord.xy + share * towards) + 0.5;
    towards = -towards;
    vec3 v = (placeAt(at) - p) / radius;
    float square = dot(v, v);
    float fall = max(1.0 - square, 0.0);
    sum += fall * fall * fall * max(dot(v, n) - 0.015, 0.0) / (square + 0.003);
  }
  return 3.8 * sum / float(places);
}

vec3 placeOfAny(vec2 at) {
  return placeOf(at, min(texture2D(depths, at * texels).r, texture2D(points, at * texels).r));
}

float shade(vec3 p) {
  float size = spread(p.z) * window.y;
  float sum = 0.0;
  for (int i = 0; i < around; ++i) {
    float angle = 0.7853982 * float(i), reach = i < 8 ? 2.0 : 7.0;
    vec2 at = floor(gl_FragCoord.xy + reach * vec2(cos(angle), sin(angle))) + 0.5;
    sum += clamp((placeOfAny(at).z - p.z) / size, 0.0, 0.05);
  }
  return 5.0 * sum;
}

vec3 inBytes(float depth) {
  vec3 parts = min(depth, 16777215.0 / 16777216.0) * vec3(1.0, 256.0, 65536.0);
  return floor(fract(parts) * 256.0) / 255.0;
}

void main() {
  float depth = min(texture2D(depths, gl_FragCoord.xy * texels).r, texture2D(points, gl_FragCoord.xy * texels).r);
  float dark = 0.0;
  if (depth < 1.0) {
    vec3 p = placeOf(gl_FragCoord.xy, depth);
    vec3 direction = texture2D(directions, gl_FragCoord.xy * texels).rgb;
    dark = direction == vec3(0.0) ? shade(p) : obscurance(p, normalize(direction * 2.0 - 1.0));
  }
  gl_FragColor = vec4(inBytes(depth), dark / MostDark);
}
)";

// The mean of 4 x 4 texels, so that each turn of the spiral counts once; of those mostly that lie on the same plane.
// What is not sure of its direction takes the mean of what is, and lies near. It is taken twice, for along a crease the
// half of the turns is missing, which shows as stripes; the second time what lies near counts as much as the plane, so
// that both sides of a crease are equally dark there, and it does not matter of which a pixel finds a texel.
const char SmoothingShader[] = R"(#version 120
uniform sampler2D depths, directions;
uniform vec2 texels;
uniform vec4 depthRows, window;  // as above
uniform int around;
uniform float last;  // 1 in the last of these passes, which turns darkness into light
const float MostDark = 4.0;

float spread(float z) { return window.w - window.z * z; }

vec3 placeOf(vec2 at, vec4 texel) {
  float clip = 2.0 * dot(texel.rgb, 255.0 / vec3(256.0, 65536.0, 16777216.0)) - 1.0;
  float z = (depthRows.y - clip * depthRows.w) / (clip * depthRows.z - depthRows.x);
  return vec3((2.0 * at * texels - 1.0) * window.xy * spread(z), z);
}

void main() {
  vec4 own = texture2D(depths, gl_FragCoord.xy * texels);
  vec4 direction = texture2D(directions, gl_FragCoord.xy * texels);
  if (own.rgb != vec3(1.0) && direction.rgb != vec3(0.0)) {
    vec3 n = normalize(direction.rgb * 2.0 - 1.0);
    vec3 p = placeOf(gl_FragCoord.xy, own);
    float unit = 0.25 / (window.y * texels.y * spread(p.z));  // of two texels
    float sum = 0.0, weights = 0.0;
    for (int i = 0; i < around; ++i) {
      vec2 at = gl_FragCoord.xy + vec2(mod(float(i), 4.0), floor(float(i) * 0.25)) - 1.0;
      vec4 texel = texture2D(depths, at * texels);
      vec4 other = texture2D(directions, at * texels);
      vec3 way = placeOf(at, texel) - p;
      float onPlane = max(1.0 - abs(dot(way, n)) * unit, 0.0) * step(0.9, dot(other.rgb * 2.0 - 1.0, n));
      float near = max(1.0 - 0.5 * length(way) * unit, 0.0);
      float weight = mix(near, onPlane + (0.1 + 0.9 * last) * near, direction.a) * (0.02 + 0.98 * other.a);
      sum += weight * texel.a;
      weights += weight;
    }
    if (weights > 0.0) own.a = sum / weights;
  }
  gl_FragColor = vec4(own.rgb, mix(own.a, exp(-MostDark * own.a), last));
}
)";

}  // namespace nubo::scene
