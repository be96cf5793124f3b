#include "module_scene/gui/subject.h"

#include "module_scene/gui/visiblepoints.h"

namespace nubo::gui {

namespace {

std::optional<scene::Plane> planeOf(const scene::Scene& scene) {
  const auto section = scene.getSection();
  return section ? std::optional(section->plane()) : std::nullopt;
}

math::Matrix4 placeOfParent(const scene::SceneElement& element) {
  const scene::SceneElement* parent = element.getParent();
  return parent ? parent->getGlobalTransform() : math::Matrix4();
}

bool contains(const scene::BoundingBox& box, const scene::BoundingBox& inner) {
  for (std::size_t i = 0; i < 3; ++i)
    if (inner.min[i] < box.min[i] || inner.max[i] > box.max[i]) return false;
  return true;
}

scene::BoundingBox boxOf(const scene::SceneElement& element, const std::optional<scene::Plane>& section) {
  const math::Matrix4 parent = placeOfParent(element);
  if (!section) return element.getBoundingBox().transformed(parent);
  scene::BoundingBox box;
  VisiblePoints(
      math::Matrix4(), section, [&box](const scene::BoundingBox& part) { return contains(box, part); },
      [&box](const math::Vector3& point) { box.add(point); })
      .visit(element, parent);
  return box;
}

}  // namespace

Subject::Subject(const Camera& direction, const scene::SceneElement& element, const scene::Scene& scene)
    : m_Box(boxOf(element, planeOf(scene))), m_Still(direction, m_Box, planeOf(scene)), m_Turning(m_Still) {
  m_Still.add(element, placeOfParent(element));
  m_Turning.addTurning(element, placeOfParent(element));
}

Camera Subject::camera(const QSize& view, double margin) const {
  return m_Turning.camera(view.width(), view.height(), &m_Still, margin);
}

bool Subject::operator==(const Subject& other) const {
  return m_Still.gatheredLike(other.m_Still) && m_Turning.gatheredLike(other.m_Turning);
}

}  // namespace nubo::gui
