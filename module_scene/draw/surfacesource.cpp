#include "module_scene/draw/surfacesource.h"

namespace nubo::scene {

// Light on a surface, in eye space and linear light. The reflections are looked up in the environment's own frame.
const char SurfaceLightSource[] = R"(
#ifdef LIT
uniform vec2 surface;      // metallic, roughness
uniform vec4 eye;          // where it is, and 1; or the direction to it, and 0
uniform vec3 irradiance[10];
uniform sampler3D reflections;
uniform float brightest;
uniform vec2 texels;       // how far the middles of the outermost texels lie apart, and those of the levels
uniform mat3 toEnvironment;
uniform vec3 keyDirection, keyLight;

vec3 decode(vec3 c) {
  return mix(c / 12.92, pow((c + 0.055) / 1.055, vec3(2.4)), step(0.04045, c));
}

vec3 diffuseLight(vec3 n) {
  vec3 squares = n * n, products = n * n.yzx;
  return irradiance[0] + n.x * irradiance[1] + n.y * irradiance[2] + n.z * irradiance[3] +
         squares.x * irradiance[4] + squares.y * irradiance[5] + squares.z * irradiance[6] +
         products.x * irradiance[7] + products.y * irradiance[8] + products.z * irradiance[9];
}

vec3 reflectedLight(vec3 direction, float roughness) {
  vec3 d = toEnvironment * direction;
  d /= abs(d.x) + abs(d.y) + abs(d.z);
  vec2 below = (1.0 - abs(d.yx)) * (step(0.0, d.xy) * 2.0 - 1.0);
  vec2 folded = mix(below, d.xy, step(0.0, d.z));
  vec3 root = texture3D(reflections, vec3(folded * texels.x, roughness * texels.y - 0.5 * texels.y) + 0.5).rgb;
  return root * root * brightest;
}

// What a surface sends to the eye: of the light from everywhere, and of the one from the key's direction.
void shine(vec3 position, vec3 n, vec3 base, float metallic, float roughness, out vec3 around, out vec3 key) {
#ifdef OF_CLAY
  base = vec3(0.6);
  metallic = 0.0;
  roughness = 1.0;
#endif
  vec3 view = normalize(eye.xyz - eye.w * position);
  float nv = clamp(dot(n, view), 0.001, 1.0);
  vec3 f0 = mix(vec3(0.04), base, metallic);
  vec3 matte = base * (1.0 - metallic);

  // What a rough surface reflects of light that comes from everywhere: a fit of the split sum's second part. What the
  // first reflection loses comes back after further ones.
  vec4 r = roughness * vec4(-1.0, -0.0275, -0.572, 0.022) + vec4(1.0, 0.0425, 1.04, -0.04);
  float grazing = min(r.x * r.x, exp2(-9.28 * nv)) * r.x + r.y;
  vec2 split = vec2(-1.04, 1.04) * grazing + r.zw;
  vec3 once = f0 * split.x + split.y;
  float lost = 1.0 - split.x - split.y;
  vec3 mean = f0 + (1.0 - f0) / 21.0;
  vec3 again = once * mean / (1.0 - lost * mean) * lost;
  matte *= 1.0 - once - again;
  around = once * reflectedLight(reflect(-view, n), roughness) + (again + matte) * diffuseLight(n);

  float nl = max(dot(n, keyDirection), 0.0);
  vec3 h = normalize(view + keyDirection);
  float nh = clamp(dot(n, h), 0.0, 1.0);
  float a = max(roughness * roughness, 0.004);
  float spread = nh * nh * (a * a - 1.0) + 1.0;
  float lobe = a * a / (spread * spread) * 0.5 / mix(2.0 * nl * nv, nl + nv, a);
  vec3 fresnel = f0 + (1.0 - f0) * pow(1.0 - clamp(dot(view, h), 0.0, 1.0), 5.0);
  key = keyLight * nl * (matte + min(lobe, 64.0) * fresnel);
}
#endif
)";

// Matrices, colours and texture coordinates are those of fixed-function drawing, so that callers need not care; but for
// places, where many parts are drawn at once.
const char SurfaceVertexShader[] = R"(
#ifdef PLACED
attribute mat3x4 toEye;
attribute mat3 normalToEye;
invariant gl_Position;  // where surfaces coincide, which one is seen depends on the order alone
#endif

centroid varying vec4 color;
varying vec4 coordinates;
#ifdef PER_VERTEX
centroid varying vec3 around, key;
#ifdef TWO_SIDED
centroid varying vec3 aroundBack, keyBack;
#endif
#elif defined(LIT)
varying vec3 position;
varying vec3 normal;
#endif

void main() {
#ifdef PLACED
  vec4 inEye = vec4(gl_Vertex * toEye, 1.0);
  vec3 normalInEye = normalToEye * gl_Normal;
  gl_Position = gl_ProjectionMatrix * inEye;
#else
  vec4 inEye = gl_ModelViewMatrix * gl_Vertex;
  vec3 normalInEye = gl_NormalMatrix * gl_Normal;
  gl_Position = ftransform();
#endif
#ifdef CLIPPED
  gl_ClipVertex = inEye;
#endif
  coordinates = vec4(gl_MultiTexCoord0.xy, gl_MultiTexCoord1.xy);
  color = gl_Color;
#ifdef LIT
  color.rgb = decode(color.rgb);
#ifdef PER_VERTEX
  vec3 n = normalize(normalInEye);
  shine(inEye.xyz, n, color.rgb, surface.x, surface.y, around, key);
#ifdef TWO_SIDED
  shine(inEye.xyz, -n, color.rgb, surface.x, surface.y, aroundBack, keyBack);
#endif
#else
  position = inEye.xyz;
  normal = normalInEye;
#endif
#endif
}
)";

// Unlit colours pass through as they are.
const char SurfaceFragmentShader[] = R"(
centroid varying vec4 color;
varying vec4 coordinates;
uniform float alphaCutoff;
uniform vec4 places[10];   // of each texture: what u and v are made of
uniform vec2 offsets[5];
uniform sampler2D baseMap;

vec2 place(int map) {
  return vec2(dot(places[2 * map], coordinates), dot(places[2 * map + 1], coordinates)) + offsets[map];
}

#if defined(CONTACT) || defined(EYE_DOME)
uniform sampler2D contactMap;
uniform vec4 contactPlace;    // from pixels to texels
uniform vec3 contactTexels;
uniform float contactTolerance;
uniform int contactAround;  // 16: as long as the driver does not know, it does not draw on once enough is found

// The mean of the four texels around, of those only whose depth is the surface's: a plane's is linear in the window, so
// that it is known for each of them. The driver has moved faces back by their change over some pixels.
float contact() {
  vec2 at = gl_FragCoord.xy * contactPlace.xy + contactPlace.zw;
  vec2 first = floor(at), share = at - first;
  vec2 change = vec2(dFdx(gl_FragCoord.z), dFdy(gl_FragCoord.z));
#ifdef EYE_DOME
  change = vec2(0.0);
#endif
  vec2 slope = change / contactPlace.xy;
  float depth = gl_FragCoord.z - contactTexels.z * max(abs(change.x), abs(change.y)) - dot(slope, share);
  vec4 expected = depth + vec4(0.0, slope.x, slope.y, slope.x + slope.y);
  vec2 corner = (first + 0.5) * contactTexels.xy;
  vec4 texels[4];
  texels[0] = texture2D(contactMap, corner);
  texels[1] = texture2D(contactMap, corner + vec2(contactTexels.x, 0.0));
  texels[2] = texture2D(contactMap, corner + vec2(0.0, contactTexels.y));
  texels[3] = texture2D(contactMap, corner + contactTexels.xy);
  const vec3 Bytes = 255.0 / vec3(256.0, 65536.0, 16777216.0);
  vec4 depths = vec4(dot(texels[0].rgb, Bytes), dot(texels[1].rgb, Bytes), dot(texels[2].rgb, Bytes),
                     dot(texels[3].rgb, Bytes));
  float tolerance = contactTolerance * gl_FragCoord.w + 5e-7;
  vec2 other = 1.0 - share;
  vec4 weights = max(1.0 - abs(depths - expected) / tolerance, 0.0) *
                 vec4(other.x * other.y, share.x * other.y, other.x * share.y, share.x * share.y);
  vec4 lights = vec4(texels[0].a, texels[1].a, texels[2].a, texels[3].a);
  float sum = dot(weights, lights), all = dot(weights, vec4(1.0));
#ifndef PER_VERTEX
  // At the surface's edge they may all be another's: one of those around them is its own, or it is too thin for any.
  // (Where faces are as small as pixels, the loop costs more than is seen.)
  for (int i = 0; i < contactAround && all < 0.02; ++i) {
    vec2 off = vec2(mod(float(i), 4.0), floor(float(i) * 0.25)) - 1.0;
    vec4 texel = texture2D(contactMap, corner + off * contactTexels.xy);
    float weight = max(1.0 - abs(dot(texel.rgb, Bytes) - depth - dot(slope, off)) / tolerance, 0.0);
    sum += weight * texel.a;
    all += weight;
  }
#endif
  // What is too thin has much around it that is open.
  vec2 most = max(lights.xy, lights.zw);
  return (sum + 1e-4 * max(most.x, most.y)) / (all + 1e-4);
}
#endif

#ifdef LIT
#ifdef PER_VERTEX
centroid varying vec3 around, key;
#ifdef TWO_SIDED
centroid varying vec3 aroundBack, keyBack;
#endif
#else
varying vec3 position;
varying vec3 normal;
#endif
uniform vec3 emission;
uniform float relief, occlusion;
uniform sampler2D roughnessMap, normalMap, occlusionMap, emissiveMap;

vec3 encode(vec3 c) {
  return mix(c * 12.92, 1.055 * pow(c, vec3(1.0 / 2.4)) - 0.055, step(0.0031308, c));
}

#ifdef NORMAL_MAP
// The surface's gradients of the texture coordinates are found from how these and the position change from one pixel to
// the next.
vec3 relieved(vec3 n, float side) {
  vec2 uv = place(2);
  vec3 px = dFdx(position), py = dFdy(position);
  vec2 tx = dFdx(uv), ty = dFdy(uv);
  vec3 across = cross(py, n), up = cross(n, px);
  vec3 u = across * tx.x + up * ty.x, v = across * tx.y + up * ty.y;
  float longest = max(dot(u, u), dot(v, v));
  vec3 m = texture2D(normalMap, uv).xyz * (255.0 / 127.0) - 128.0 / 127.0;
  m.xy *= relief * side * (longest > 0.0 ? inversesqrt(longest) : 0.0);
  return normalize(u * m.x + v * m.y + n * m.z);
}
#endif
#endif

void main() {
  vec4 base = color;
#ifdef BASE_MAP
  vec4 texel = texture2D(baseMap, place(0));
#ifdef LIT
  texel.rgb = decode(texel.rgb);
#endif
  base *= texel;
#endif
#ifdef MASK
  if (base.a < alphaCutoff) discard;
#endif
#if defined(MASK) || defined(OPAQUE)
  base.a = 1.0;
#endif
#ifdef LIT
#ifdef PER_VERTEX
  vec3 light = around, direct = key;
#ifdef TWO_SIDED
  if (!gl_FrontFacing) {
    light = aroundBack;
    direct = keyBack;
  }
#endif
#else
  float side = gl_FrontFacing ? 1.0 : -1.0;
  vec3 n = normalize(normal) * side;
#ifdef NORMAL_MAP
  n = relieved(n, side);
#endif
  vec2 factors = surface;
#ifdef ROUGHNESS_MAP
  factors *= texture2D(roughnessMap, place(1)).bg;
#endif
  vec3 light, direct;
  shine(position, n, base.rgb, factors.x, factors.y, light, direct);
#ifdef OCCLUSION_MAP
  light *= 1.0 + occlusion * (texture2D(occlusionMap, place(3)).r - 1.0);
#endif
#endif
#ifdef CONTACT
  float arriving = contact();
  light *= arriving;
  direct *= 0.5 + 0.5 * arriving;  // it comes from a direction, from which less is hidden
#endif
  light += direct;

#ifdef OF_CLAY
  vec3 glow = vec3(0.0);
#else
  vec3 glow = emission;
#endif
#ifdef EMISSIVE_MAP
  glow *= decode(texture2D(emissiveMap, place(4)).rgb);
#endif
  base.rgb = encode(clamp(light + glow, 0.0, 1.0));
#ifdef OF_DRAWING
  base.rgb = 0.72 + 0.33 * base.rgb;  // paper white, or nearly
#endif
#endif
#if defined(OF_DRAWING) && !defined(LIT)
  base.rgb = vec3(0.0);
#endif
#ifdef EYE_DOME
  base.rgb *= contact();
#endif
  gl_FragColor = base;
}
)";

}  // namespace nubo::scene
