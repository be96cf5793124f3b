// Builds meshes from simple solids.
#pragma once

#include <functional>
#include <vector>

#include "module_scene/graph/geometry.h"

namespace nubo::scene {

/// Collects solids with one material in one geometry. Solids are closed and look outwards; all lengths
/// are in the space of the element that takes the geometry.
class NUBO_MODULE_SCENE_EXPORT MeshBuilder {
 public:
  using Point2 = std::array<double, 2>;

  explicit MeshBuilder(const util::YPointer<Material>& material);

  /// What is added from now on is moved by the matrix, which must not mirror.
  MeshBuilder& at(const math::Matrix4& placement);
  MeshBuilder& box(const math::Vector3& min, const math::Vector3& max);
  MeshBuilder& sphere(const math::Vector3& center, double radius, int slices = 192, int stacks = 96);
  /// Turns a profile of (radius, height) about the z axis. It runs from the axis up to the axis, or round
  /// in itself (`ring`) counter-clockwise, seen with the radius to the right.
  MeshBuilder& turned(const std::vector<Point2>& profile, bool ring = false, int slices = 128);
  /// A polygon in the plane z = 0, counter-clockwise, star-shaped about `center`, drawn out up to `height`.
  MeshBuilder& extruded(const std::vector<Point2>& outline, double height, const Point2& center = {0, 0});
  MeshBuilder& rod(const math::Vector3& from, const math::Vector3& to, double radius, int slices = 32);
  /// A sheet of steps x steps quads over (u, v) in 0 to 1; not closed. Coloured if `color` is given.
  MeshBuilder& sheet(int steps, const std::function<math::Vector3(double, double)>& point,
                     const std::function<std::array<std::uint8_t, 4>(double, double)>& color = {});
  /// A rectangle with the whole texture on it: its lower left corner and its edges to the right and up.
  MeshBuilder& picture(const math::Vector3& corner, const math::Vector3& right, const math::Vector3& up);

  /// The finished geometry; the builder is empty afterwards.
  util::YPointer<Geometry> finish();

 private:
  std::uint32_t add(const math::Vector3& point);
  void triangle(std::uint32_t a, std::uint32_t b, std::uint32_t c);

  util::YPointer<Geometry> m_Geometry;
  math::Matrix4 m_Placement;
};

}  // namespace nubo::scene
