// The joints of a machine, and what moves which.
#pragma once

#include <QStringList>

#include "module_scene/graph/sceneelement.h"

namespace nubo::scene {

/// The elements at and below `root` that have joints, parents first. The scene is locked, or nobody else has it.
NUBO_MODULE_SCENE_EXPORT std::vector<util::YPointer<SceneElement>> movedBelow(SceneElement& root);

/// How an element goes with one of several values.
struct DrivenElement {
  util::YPointer<SceneElement> element;
  int driver = 0;  ///< the value's number
  double multiplier = 1, offset = 0;

  math::Matrix4 transformAt(double value) const {
    return element->getJoint()->transformAt(value * multiplier + offset);
  }
};

/// What values with these names move: a joint goes with the value of its name, else with that of the joint that it
/// follows, or that follows in turn. `moved`: elements that have joints.
NUBO_MODULE_SCENE_EXPORT std::vector<DrivenElement> drivenBy(const QStringList& names,
                                                             const std::vector<util::YPointer<SceneElement>>& moved);

/// The value at which the joint has that transform; for one that turns, of those the one that is nearest to `near`.
NUBO_MODULE_SCENE_EXPORT double valueAt(const Joint& joint, const math::Matrix4& transform, double near);

}  // namespace nubo::scene
