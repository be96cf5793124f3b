#include "module_scene/graph/sceneelement.h"

#include <algorithm>

#include "module_scene/graph/rig.h"

namespace nubo::scene {

SceneElement::SceneElement(const QString& name) : m_Name(name) {}

SceneElement::~SceneElement() {
  for (const auto& child : m_Children) child->mp_Parent = nullptr;
}

void SceneElement::setRig(const util::YPointer<Rig>& rig) { mp_Rig = rig; }

void SceneElement::addChild(const util::YPointer<SceneElement>& child) {
  // The old parent may hold the last reference. NOLINTNEXTLINE(performance-unnecessary-copy-initialization)
  const util::YPointer<SceneElement> kept = child;
  if (kept->mp_Parent) kept->mp_Parent->removeChild(kept.get());
  kept->mp_Parent = this;
  m_Children.push_back(kept);
}

void SceneElement::removeChild(SceneElement* child) {
  const auto found =
      std::find_if(m_Children.begin(), m_Children.end(), [child](const auto& held) { return held.get() == child; });
  if (found == m_Children.end()) return;
  child->mp_Parent = nullptr;
  m_Children.erase(found);
}

SceneElement* SceneElement::find(const QString& name) {
  if (m_Name == name) return this;
  for (const auto& child : m_Children)
    if (SceneElement* found = child->find(name)) return found;
  return nullptr;
}

math::Matrix4 SceneElement::getGlobalTransform() const {
  math::Matrix4 result = m_Transform;
  for (const SceneElement* e = mp_Parent; e; e = e->mp_Parent) result = e->m_Transform * result;
  return result;
}

BoundingBox SceneElement::getBoundingBox() const {
  BoundingBox box;
  if (!m_Visible) return box;
  for (const auto& geometry : m_Geometries) box.add(geometry->box);
  for (const auto& child : m_Children) box.add(child->getBoundingBox());
  return box.transformed(m_Transform);
}

}  // namespace nubo::scene
