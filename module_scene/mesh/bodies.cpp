#include "module_scene/mesh/bodies.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "module_scene/mesh/preparation.h"

namespace nubo::scene {

namespace {

/// Of a box whose corners have a bit for each axis, set where they lie on its far side.
constexpr std::uint32_t Corners[]{0, 4, 6, 0, 6, 2, 1, 3, 7, 1, 7, 5, 0, 1, 5, 0, 5, 4,
                                  2, 6, 7, 2, 7, 3, 0, 2, 3, 0, 3, 1, 4, 5, 7, 4, 7, 6};

/// As OpenGL takes normals: with the inverse, transposed.
math::Vector3 turned(const math::Vector3& normal, const math::Matrix4& inverse) {
  math::Vector3 result{};
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j) result[i] += inverse(j, i) * normal[j];
  const double length = std::hypot(result[0], result[1], result[2]);
  for (double& value : result) value = length > 0 ? value / length : 0;
  return result;
}

}  // namespace

double areaOf(const Geometry& geometry) {
  const auto corner = [&](std::size_t index) { return &geometry.positions[std::size_t(geometry.indices[index]) * 3]; };
  // Neighbours follow each other, so that every n-th tells of all.
  constexpr std::size_t Enough = 4096;
  const std::size_t step = geometry.primitiveCount() / Enough + 1;
  double area = 0;
  for (std::size_t i = 0; i < geometry.indices.size(); i += 3 * step) {
    const float *a = corner(i), *b = corner(i + 1), *c = corner(i + 2);
    const double u[]{double(b[0]) - a[0], double(b[1]) - a[1], double(b[2]) - a[2]};
    const double v[]{double(c[0]) - a[0], double(c[1]) - a[1], double(c[2]) - a[2]};
    const double x = u[1] * v[2] - u[2] * v[1], y = u[2] * v[0] - u[0] * v[2], z = u[0] * v[1] - u[1] * v[0];
    area += 0.5 * double(step) * std::sqrt(x * x + y * y + z * z);
  }
  return area;
}

Bodies::Bodies(const util::YPointer<Material>& material, bool lit, const math::Vector3& origin)
    : m_Lit(lit), m_FromOrigin(math::translation(-origin[0], -origin[1], -origin[2])) {
  m_Result->material = material;
  m_Result->closed = true;
}

void Bodies::add(const BoundingBox& box, double area, const math::Matrix4& place, const Color& color) {
  math::Vector3 middle, half;
  for (std::size_t i = 0; i < middle.size(); ++i) {
    middle[i] = 0.5 * (box.min[i] + box.max[i]);
    half[i] = 0.5 * (box.max[i] - box.min[i]);
  }
  const math::Vector3 faces{half[1] * half[2], half[2] * half[0], half[0] * half[1]};
  const double whole = 8 * (faces[0] + faces[1] + faces[2]);
  const double scale = whole > 0 ? std::sqrt(std::min(1.0, area / whole)) : 1;
  const math::Matrix4 ownPlace = m_FromOrigin * place, inverse = math::affineInverse(ownPlace);
  const auto first = std::uint32_t(m_Result->vertexCount());
  for (std::uint32_t corner = 0; corner < 8; ++corner) {
    math::Vector3 position, normal;
    for (std::size_t i = 0; i < position.size(); ++i) {
      const double side = corner & (1u << i) ? 1 : -1;
      position[i] = middle[i] + side * scale * half[i];
      normal[i] = side * faces[i];  // towards most of the surface around it: that of a plate where the plate looks
    }
    for (const double value : math::transformPoint(ownPlace, position)) m_Result->positions.push_back(float(value));
    for (const float value : color)
      m_Result->colors.push_back(std::uint8_t(std::lround(255 * std::clamp(value, 0.0f, 1.0f))));
    if (!m_Lit) continue;
    for (const double value : turned(normal, inverse)) m_Result->normals.push_back(float(value));
  }
  // What is mirrored runs around its faces the other way.
  const double volume = math::determinant(place);
  for (std::size_t i = 0; i < std::size(Corners); ++i)
    m_Result->indices.push_back(first + Corners[volume < 0 ? std::size(Corners) - 1 - i : i]);
  double square = 0;
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j) square += std::pow(half[i] * place(j, i), 2);
  m_Reach = std::max(m_Reach, std::sqrt(square));
}

util::YPointer<Geometry> Bodies::finish() {
  Cluster all;
  all.count = std::uint32_t(m_Result->indices.size());
  all.vertexCount = std::uint32_t(m_Result->vertexCount());
  BoundingBox& box = m_Result->box;
  for (std::size_t i = 0; i < m_Result->positions.size(); i += 3) {
    const float* position = &m_Result->positions[i];
    box.add(math::Vector3{double(position[0]), double(position[1]), double(position[2])});
  }
  for (int i = 0; i < 3; ++i) {
    all.min[i] = float(box.min[i]);
    all.max[i] = float(box.max[i]);
  }
  m_Result->clusters = {all};
  m_Result->longestEdge = longestEdgeOf(*m_Result);
  return m_Result;
}

}  // namespace nubo::scene
