#include "plugins/readers/urdf/bodies.h"

#include <cmath>

namespace nubo::reader {
namespace {

constexpr std::uint32_t Around = 48, Upwards = 24;

using Vector = std::array<double, 3>;

/// Puts vertices and faces together, and then where the program finds them.
class Builder {
 public:
  void add(const Vector& position, const Vector& normal) {
    for (const double value : position) m_Positions.push_back(float(value));
    for (const double value : normal) m_Normals.push_back(float(value));
  }
  std::uint32_t count() const { return std::uint32_t(m_Positions.size() / 3); }
  void face(std::uint32_t a, std::uint32_t b, std::uint32_t c) { m_Indices.insert(m_Indices.end(), {a, b, c}); }
  /// Of a row of vertices from `low` on and one from `high` on, which lies above it.
  void band(std::uint32_t low, std::uint32_t high) {
    for (std::uint32_t i = 0; i < Around; ++i) {
      face(low + i, low + i + 1, high + i + 1);
      face(low + i, high + i + 1, high + i);
    }
  }
  Mesh finish(Output& output) const {
    Mesh mesh;
    mesh.positions = output.array(m_Positions);
    mesh.normals = output.array(m_Normals);
    mesh.indices = output.array(m_Indices);
    return mesh;
  }

 private:
  std::vector<float> m_Positions, m_Normals;
  std::vector<std::uint32_t> m_Indices;
};

double angleOf(std::uint32_t step) { return 2 * M_PI * (step % Around) / Around; }

}  // namespace

Mesh boxOf(double x, double y, double z, Output& output) {
  const Vector half{x / 2, y / 2, z / 2};
  Builder builder;
  for (std::size_t axis = 0; axis < 3; ++axis)
    for (const double side : {-1.0, 1.0}) {
      const std::size_t across = (axis + 1) % 3, up = (axis + 2) % 3;
      Vector normal{};
      normal[axis] = side;
      const std::uint32_t first = builder.count();
      for (const auto& [a, b] : {std::pair(-1, -1), {1, -1}, {1, 1}, {-1, 1}}) {
        Vector corner{};
        corner[axis] = side * half[axis], corner[across] = side * a * half[across], corner[up] = b * half[up];
        builder.add(corner, normal);
      }
      builder.face(first, first + 1, first + 2);
      builder.face(first, first + 2, first + 3);
    }
  return builder.finish(output);
}

Mesh cylinderOf(double radius, double length, Output& output) {
  Builder builder;
  for (const double end : {-0.5, 0.5})
    for (std::uint32_t i = 0; i <= Around; ++i) {
      const double x = std::cos(angleOf(i)), y = std::sin(angleOf(i));
      builder.add({radius * x, radius * y, length * end}, {x, y, 0});
    }
  builder.band(0, Around + 1);
  for (const double end : {-0.5, 0.5}) {
    const std::uint32_t center = builder.count();
    builder.add({0, 0, length * end}, {0, 0, 2 * end});
    for (std::uint32_t i = 0; i <= Around; ++i)
      builder.add({radius * std::cos(angleOf(i)), radius * std::sin(angleOf(i)), length * end}, {0, 0, 2 * end});
    for (std::uint32_t i = 1; i <= Around; ++i)
      builder.face(center, center + i + (end > 0 ? 0 : 1), center + i + (end > 0 ? 1 : 0));
  }
  return builder.finish(output);
}

Mesh sphereOf(double radius, Output& output) {
  Builder builder;
  for (std::uint32_t row = 0; row <= Upwards; ++row) {
    const double latitude = M_PI * row / Upwards - M_PI / 2;
    for (std::uint32_t i = 0; i <= Around; ++i) {
      // The poles are one place each, to the last bit.
      const double wide = row % Upwards == 0 ? 0 : std::cos(latitude);
      const Vector n{wide * std::cos(angleOf(i)), wide * std::sin(angleOf(i)), std::sin(latitude)};
      builder.add({radius * n[0], radius * n[1], radius * n[2]}, n);
    }
    if (row > 0) builder.band((row - 1) * (Around + 1), row * (Around + 1));
  }
  return builder.finish(output);
}

}  // namespace nubo::reader
