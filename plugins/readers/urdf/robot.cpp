#include "plugins/readers/urdf/robot.h"

#include <urdf_model/joint.h>
#include <urdf_model/link.h>

#include <cmath>

#include "plugins/readers/urdf/bodies.h"
#include "plugins/readers/urdf/files.h"

namespace nubo::reader {
namespace {

std::array<double, 16> matrixOf(const urdf::Pose& pose, const std::array<double, 3>& scale = {1, 1, 1}) {
  const double x = pose.rotation.x, y = pose.rotation.y, z = pose.rotation.z, w = pose.rotation.w;
  const double axes[3][3]{{1 - 2 * (y * y + z * z), 2 * (x * y + z * w), 2 * (x * z - y * w)},
                          {2 * (x * y - z * w), 1 - 2 * (x * x + z * z), 2 * (y * z + x * w)},
                          {2 * (x * z + y * w), 2 * (y * z - x * w), 1 - 2 * (x * x + y * y)}};
  std::array<double, 16> matrix{};
  for (std::size_t column = 0; column < 3; ++column)
    for (std::size_t row = 0; row < 3; ++row) matrix[column * 4 + row] = axes[column][row] * scale[column];
  matrix[12] = pose.position.x, matrix[13] = pose.position.y, matrix[14] = pose.position.z, matrix[15] = 1;
  return matrix;
}

std::array<double, 3> scaleOf(const urdf::Geometry& geometry) {
  if (geometry.type != urdf::Geometry::MESH) return {1, 1, 1};
  const urdf::Vector3& scale = static_cast<const urdf::Mesh&>(geometry).scale;
  return {scale.x, scale.y, scale.z};
}

Mesh bodyOf(const urdf::Geometry& geometry, Output& output) {
  if (geometry.type == urdf::Geometry::BOX) {
    const urdf::Vector3& size = static_cast<const urdf::Box&>(geometry).dim;
    return boxOf(size.x, size.y, size.z, output);
  }
  if (geometry.type == urdf::Geometry::SPHERE)
    return sphereOf(static_cast<const urdf::Sphere&>(geometry).radius, output);
  const auto& cylinder = static_cast<const urdf::Cylinder&>(geometry);
  return cylinderOf(cylinder.radius, cylinder.length, output);
}

}  // namespace

void RobotConverter::convert() {
  if (!m_Robot.getRoot()) throw Refusal("its content is not understood");
  add(*m_Robot.getRoot(), None, 0);
}

void RobotConverter::add(const urdf::Link& link, std::int32_t parent, int depth) {
  constexpr int Deepest = 200;  // links
  if (depth > Deepest) throw Refusal("its nodes are nested too deeply");
  Node node;
  node.name = link.name;
  node.parent = parent;
  const std::int32_t number = add(std::move(node));
  for (const auto& visual : link.visual_array)
    if (visual && visual->geometry) addVisual(*visual, number);
  m_Output.progress(-1);
  for (const auto& joint : link.child_joints) {
    const auto child = m_Robot.getLink(joint->child_link_name);
    if (!child) continue;
    Node place;
    place.name = joint->name;
    place.parent = number;
    place.transform = matrixOf(joint->parent_to_joint_origin_transform);
    const std::int32_t moved = add(std::move(place));
    addJoint(*joint, moved);
    add(*child, moved, depth + 1);
  }
}

void RobotConverter::addVisual(const urdf::Visual& visual, std::int32_t link) {
  Node node;
  node.name = visual.name;
  node.parent = link;
  node.transform = matrixOf(visual.origin, scaleOf(*visual.geometry));
  const std::int32_t material = materialOf(visual);
  if (visual.geometry->type != urdf::Geometry::MESH) {
    Mesh mesh = bodyOf(*visual.geometry, m_Output);
    mesh.material = material;
    node.instances.push_back({std::int32_t(m_Output.model.meshes.size()), None});
    m_Output.model.meshes.push_back(std::move(mesh));
    add(std::move(node));
    return;
  }
  const std::string& name = static_cast<const urdf::Mesh&>(*visual.geometry).filename;
  const std::string found = findFile(name, m_File);
  if (found.empty()) {
    m_Output.warning(text("its part '%1' is missing", {name}));
    return;
  }
  m_Output.model.references.push_back({add(std::move(node)), found, material});
}

void RobotConverter::addJoint(const urdf::Joint& source, std::int32_t node) {
  const bool turns = source.type == urdf::Joint::REVOLUTE || source.type == urdf::Joint::CONTINUOUS;
  if (!turns && source.type != urdf::Joint::PRISMATIC) return;
  const double length = std::hypot(source.axis.x, source.axis.y, source.axis.z);
  if (!(length > 0)) return;
  Joint joint;
  joint.name = source.name;
  joint.node = node;
  joint.turns = turns;
  joint.axis = {source.axis.x / length, source.axis.y / length, source.axis.z / length};
  if (source.limits && source.type != urdf::Joint::CONTINUOUS) {
    joint.lower = source.limits->lower;
    joint.upper = source.limits->upper;
  }
  if (source.mimic) {
    joint.follows = source.mimic->joint_name;
    joint.multiplier = source.mimic->multiplier;
    joint.offset = source.mimic->offset;
  }
  m_Output.model.joints.push_back(std::move(joint));
}

std::int32_t RobotConverter::add(Node node) {
  m_Output.model.nodes.push_back(std::move(node));
  return std::int32_t(m_Output.model.nodes.size()) - 1;
}

std::int32_t RobotConverter::materialOf(const urdf::Visual& visual) {
  if (!visual.material) return None;
  const urdf::Color& source = visual.material->color;
  const std::array<float, 4> color{source.r, source.g, source.b, source.a};
  const auto [found, isNew] = m_Materials.try_emplace(color, std::int32_t(m_Output.model.materials.size()));
  if (!isNew) return found->second;
  Material material;
  material.name = visual.material->name;
  material.diffuse = color;
  m_Output.model.materials.push_back(std::move(material));
  return found->second;
}

}  // namespace nubo::reader
