#include <algorithm>
#include <cmath>

#include "module_scene/draw/environment.h"

namespace nubo::scene {

namespace {

constexpr float Degree = 3.14159265f / 180;

float smoothStep(float low, float high, float value) {
  const float t = std::clamp((value - low) / (high - low), 0.0f, 1.0f);
  return t * t * (3 - 2 * t);
}

/// 0 degrees is where the eye is, 90 to the right of the scene as it sees it.
Direction directionAt(float azimuth, float elevation) {
  const float a = azimuth * Degree, e = elevation * Degree;
  return {std::sin(a) * std::cos(e), -std::cos(a) * std::cos(e), std::sin(e)};
}

/// A rectangle that shines, seen from the middle of the studio: upright, and facing there.
struct Area {
  float azimuth, elevation;  ///< degrees, of its middle
  float width, height;       ///< tangents of half the angles that it takes
  float light;

  float seenIn(const Direction& d) const {
    const Direction middle = directionAt(azimuth, elevation);
    const Direction right = directionAt(azimuth + 90, 0);
    const Direction up = directionAt(azimuth, elevation + 90);
    const auto along = [&d](const Direction& axis) { return d[0] * axis[0] + d[1] * axis[1] + d[2] * axis[2]; };
    const float depth = along(middle);
    if (depth <= 0.05f) return 0;
    constexpr float Softness = 0.12f;
    const auto inside = [&](float place, float half) {
      return 1 - smoothStep(half - Softness, half + Softness, std::abs(place) / depth);
    };
    return light * inside(along(right), width) * inside(along(up), height);
  }
};

constexpr Area Areas[] = {
    {-95, 22, 0.75f, 0.65f, 1.2f},   // to the left of the scene
    {-60, 80, 0.92f, 0.78f, 1.36f},  // above it
    {122, 12, 0.18f, 0.9f, 0.65f},   // to the right, behind it
    {4, 30, 0.6f, 0.42f, 0.66f},     // above the eye
};

float room(float height) {
  constexpr float Wall = 0.15f, Ceiling = 0.2f, Floor = 0.26f, Below = 0.1f;
  const float above = Wall + (Ceiling - Wall) * smoothStep(0.0f, 0.9f, height);
  const float below = Floor + (Below - Floor) * smoothStep(0.1f, 0.9f, -height);
  return below + (above - below) * smoothStep(-0.06f, 0.06f, height);
}

}  // namespace

const Environment& studio() {
  static const Environment Studio([](const Direction& d) {
    float light = room(d[2]);
    for (const Area& area : Areas) light = std::max(light, area.seenIn(d));
    return Light{light, light, light};
  });
  return Studio;
}

const DistantLight& studioKey() {
  static const DistantLight Key{directionAt(-70, 52), {0.28f, 0.28f, 0.28f}};
  return Key;
}

}  // namespace nubo::scene
