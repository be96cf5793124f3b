#include "module_trajectory/turntable.h"

#include <cmath>

namespace nubo::trajectory {

std::unique_ptr<AdvancedTrajectoryInfo> createTurntable(int steps) {
  const util::YPointer<scene::Scene> scene = scene::_GlobalScene();
  const scene::SceneLocker locker(scene, scene::LockAll);
  const util::YPointer<scene::SceneElement> root = scene ? scene->getRootNode() : nullptr;
  if (steps <= 0 || !root || root->getBoundingBox().isEmpty()) return nullptr;
  const scene::BoundingBox box = root->getBoundingBox();
  const double x = (box.min[0] + box.max[0]) / 2, y = (box.min[1] + box.max[1]) / 2;
  const double fullTurn = 2 * std::acos(-1.0);
  auto list = std::make_unique<std::deque<MatrixMap>>();
  for (int k = 0; k < steps; ++k)
    list->push_back({{root, math::translation(x, y, 0) * math::rotation(fullTurn * k / steps, {0, 0, 1}) *
                                math::translation(-x, -y, 0) * root->getTransform()}});
  return std::make_unique<AdvancedTrajectoryInfo>(std::move(list));
}

}  // namespace nubo::trajectory
