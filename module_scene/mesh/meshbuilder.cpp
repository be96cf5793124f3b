#include "module_scene/mesh/meshbuilder.h"
#include "module_scene/mesh/preparation.h"

#include <cmath>

namespace nubo::scene {

namespace {

constexpr double Turn = 2 * 3.14159265358979323846;

// A matrix whose z axis points from one point to another.
math::Matrix4 alongAxis(const math::Vector3& from, const math::Vector3& to) {
  const double x = to[0] - from[0], y = to[1] - from[1], z = to[2] - from[2];
  return math::translation(from[0], from[1], from[2]) * math::rotation(std::atan2(y, x), {0, 0, 1}) *
         math::rotation(std::atan2(std::hypot(x, y), z), {0, 1, 0});
}

}  // namespace

MeshBuilder::MeshBuilder(const util::YPointer<Material>& material) : m_Geometry(new Geometry) {
  m_Geometry->material = material;
}

MeshBuilder& MeshBuilder::at(const math::Matrix4& placement) {
  m_Placement = placement;
  return *this;
}

std::uint32_t MeshBuilder::add(const math::Vector3& point) {
  for (const double value : math::transformPoint(m_Placement, point)) m_Geometry->positions.push_back(float(value));
  return std::uint32_t(m_Geometry->vertexCount() - 1);
}

void MeshBuilder::triangle(std::uint32_t a, std::uint32_t b, std::uint32_t c) {
  m_Geometry->indices.insert(m_Geometry->indices.end(), {a, b, c});
}

MeshBuilder& MeshBuilder::box(const math::Vector3& min, const math::Vector3& max) {
  const math::Matrix4 placement = m_Placement;
  m_Placement = placement * math::translation(0, 0, min[2]);
  extruded({{min[0], min[1]}, {max[0], min[1]}, {max[0], max[1]}, {min[0], max[1]}}, max[2] - min[2],
           {0.5 * (min[0] + max[0]), 0.5 * (min[1] + max[1])});
  m_Placement = placement;
  return *this;
}

MeshBuilder& MeshBuilder::sphere(const math::Vector3& center, double radius, int slices, int stacks) {
  std::vector<Point2> profile;
  for (int i = 0; i <= stacks; ++i) {
    const double angle = Turn / 2 * i / stacks;
    profile.push_back({i == 0 || i == stacks ? 0.0 : radius * std::sin(angle), -radius * std::cos(angle)});
  }
  const math::Matrix4 placement = m_Placement;
  m_Placement = placement * math::translation(center[0], center[1], center[2]);
  turned(profile, false, slices);
  m_Placement = placement;
  return *this;
}

MeshBuilder& MeshBuilder::turned(const std::vector<Point2>& profile, bool ring, int slices) {
  std::vector<std::uint32_t> first;  // of each profile point's circle, or the one vertex on the axis
  for (const Point2& p : profile) {
    first.push_back(std::uint32_t(m_Geometry->vertexCount()));
    const int count = p[0] == 0 ? 1 : slices;
    for (int s = 0; s < count; ++s) add({p[0] * std::cos(Turn * s / slices), p[0] * std::sin(Turn * s / slices), p[1]});
  }
  const auto vertex = [&](std::size_t i, int s) {
    return first[i] + std::uint32_t(profile[i][0] == 0 ? 0 : s % slices);
  };
  for (std::size_t i = 0; i + (ring ? 0 : 1) < profile.size(); ++i) {
    const std::size_t next = (i + 1) % profile.size();
    for (int s = 0; s < slices; ++s) {
      if (profile[i][0] != 0) triangle(vertex(i, s), vertex(i, s + 1), vertex(next, s));
      if (profile[next][0] != 0) triangle(vertex(i, s + 1), vertex(next, s + 1), vertex(next, s));
    }
  }
  return *this;
}

MeshBuilder& MeshBuilder::extruded(const std::vector<Point2>& outline, double height, const Point2& center) {
  std::vector<std::uint32_t> low, high;
  for (const Point2& p : outline) {
    low.push_back(add({p[0], p[1], 0}));
    high.push_back(add({p[0], p[1], height}));
  }
  const std::uint32_t bottom = add({center[0], center[1], 0}), top = add({center[0], center[1], height});
  for (std::size_t i = 0; i < outline.size(); ++i) {
    const std::size_t next = (i + 1) % outline.size();
    triangle(low[i], low[next], high[i]);
    triangle(low[next], high[next], high[i]);
    triangle(high[i], high[next], top);
    triangle(low[next], low[i], bottom);
  }
  return *this;
}

MeshBuilder& MeshBuilder::rod(const math::Vector3& from, const math::Vector3& to, double radius, int slices) {
  const double length = std::hypot(to[0] - from[0], to[1] - from[1], to[2] - from[2]);
  const math::Matrix4 placement = m_Placement;
  m_Placement = placement * alongAxis(from, to);
  turned({{0, 0}, {radius, 0}, {radius, length}, {0, length}}, false, slices);
  m_Placement = placement;
  return *this;
}

MeshBuilder& MeshBuilder::sheet(int steps, const std::function<math::Vector3(double, double)>& point,
                                const std::function<std::array<std::uint8_t, 4>(double, double)>& color) {
  const std::uint32_t first = std::uint32_t(m_Geometry->vertexCount());
  for (int j = 0; j <= steps; ++j)
    for (int i = 0; i <= steps; ++i) {
      const double u = double(i) / steps, v = double(j) / steps;
      add(point(u, v));
      if (!color) continue;
      const auto rgba = color(u, v);
      m_Geometry->colors.insert(m_Geometry->colors.end(), rgba.begin(), rgba.end());
    }
  const std::uint32_t row = std::uint32_t(steps) + 1;
  for (std::uint32_t j = 0; j + 1 < row; ++j)
    for (std::uint32_t i = 0; i + 1 < row; ++i) {
      const std::uint32_t a = first + j * row + i;
      triangle(a, a + 1, a + row);
      triangle(a + 1, a + row + 1, a + row);
    }
  return *this;
}

MeshBuilder& MeshBuilder::picture(const math::Vector3& corner, const math::Vector3& right, const math::Vector3& up) {
  const auto point = [&](double u, double v) {
    return math::Vector3{corner[0] + u * right[0] + v * up[0], corner[1] + u * right[1] + v * up[1],
                         corner[2] + u * right[2] + v * up[2]};
  };
  constexpr int Steps = 64;  // light is computed at the vertices
  for (int j = 0; j <= Steps; ++j)
    for (int i = 0; i <= Steps; ++i)
      m_Geometry->texCoords.insert(m_Geometry->texCoords.end(), {float(i) / Steps, float(j) / Steps});
  return sheet(Steps, point);
}

util::YPointer<Geometry> MeshBuilder::finish() {
  prepare(*m_Geometry);
  const util::YPointer<Geometry> finished = m_Geometry;
  m_Geometry = new Geometry;
  m_Geometry->material = finished->material;
  m_Placement = math::Matrix4();
  return finished;
}

}  // namespace nubo::scene
