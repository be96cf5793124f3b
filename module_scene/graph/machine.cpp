#include "module_scene/graph/machine.h"

#include <algorithm>
#include <cmath>

namespace nubo::scene {
namespace {

using Elements = std::vector<util::YPointer<SceneElement>>;

void collectMoved(const util::YPointer<SceneElement>& element, Elements& moved) {
  if (element->getJoint()) moved.push_back(element);
  for (const auto& child : element->getChildren()) collectMoved(child, moved);
}

}  // namespace

Elements movedBelow(SceneElement& root) {
  Elements moved;
  collectMoved(util::YPointer<SceneElement>(&root), moved);
  return moved;
}

std::vector<DrivenElement> drivenBy(const QStringList& names, const Elements& moved) {
  constexpr int Longest = 20;  // chain of joints that follow each other; it might be a circle
  std::vector<DrivenElement> driven;
  for (const auto& element : moved) {
    DrivenElement one{element};
    const Joint* joint = element->getJoint();
    for (int i = 0; joint && i < Longest; ++i) {
      one.driver = names.indexOf(joint->name);
      if (one.driver >= 0) break;
      one.offset += one.multiplier * joint->offset;
      one.multiplier *= joint->multiplier;
      const auto leader = std::find_if(moved.begin(), moved.end(), [&](const auto& other) {
        return !joint->follows.isEmpty() && other->getJoint()->name == joint->follows;
      });
      joint = leader == moved.end() ? nullptr : (*leader)->getJoint();
    }
    if (one.driver >= 0 && joint) driven.push_back(one);
  }
  return driven;
}

double valueAt(const Joint& joint, const math::Matrix4& transform, double near) {
  const math::Matrix4 motion = math::affineInverse(joint.origin) * transform;
  const auto along = [&](double x, double y, double z) {
    return x * joint.axis[0] + y * joint.axis[1] + z * joint.axis[2];
  };
  if (!joint.turns) return along(motion(0, 3), motion(1, 3), motion(2, 3));
  const double sine = along(motion(2, 1) - motion(1, 2), motion(0, 2) - motion(2, 0), motion(1, 0) - motion(0, 1)) / 2;
  const double cosine = (motion(0, 0) + motion(1, 1) + motion(2, 2) - 1) / 2;
  const double turn = 2 * std::acos(-1.0), value = std::atan2(sine, cosine);
  return value + std::round((near - value) / turn) * turn;
}

}  // namespace nubo::scene
