// The simplest things to draw.
#pragma once

#include <array>
#include <vector>

#include "module_scene/mesh/preparation.h"

namespace nubo::test {

/// A rectangle of one colour that needs no light, by its four corners in the order of its outline.
inline util::YPointer<scene::Geometry> quad(std::vector<float> corners, const std::array<float, 4>& colour) {
  util::YPointer<scene::Geometry> geometry(new scene::Geometry);
  geometry->positions = std::move(corners);
  geometry->indices = {0, 1, 2, 0, 2, 3};
  geometry->material = new scene::Material;
  geometry->material->diffuse = colour;
  geometry->material->lit = false;
  scene::prepare(*geometry);
  return geometry;
}

/// Points at these places, unlit.
inline util::YPointer<scene::Geometry> dots(const std::vector<math::Vector3>& places, float width = 1) {
  util::YPointer<scene::Geometry> geometry(new scene::Geometry);
  geometry->kind = scene::KindPoints;
  geometry->width = width;
  for (const math::Vector3& place : places) {
    for (const double value : place) geometry->positions.push_back(float(value));
    geometry->indices.push_back(std::uint32_t(geometry->indices.size()));
  }
  geometry->material = new scene::Material;
  geometry->material->diffuse = {1, 1, 0, 1};
  geometry->material->lit = false;
  scene::prepare(*geometry);
  return geometry;
}

}  // namespace nubo::test
