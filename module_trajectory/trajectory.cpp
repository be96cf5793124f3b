#include "module_trajectory/trajectory.h"

namespace nubo::trajectory {

namespace {

/// Moves the element to a place given in the scene's space; it keeps its orientation and scale.
void moveTo(scene::SceneElement& element, const Point& point) {
  math::Vector3 place{point[0], point[1], point[2]};
  if (const scene::SceneElement* parent = element.getParent())
    place = math::transformPoint(math::affineInverse(parent->getGlobalTransform()), place);
  math::Matrix4 transform = element.getTransform();
  for (int axis = 0; axis < 3; ++axis) transform(axis, 3) = place[axis];
  element.setTransform(transform);
}

}  // namespace

TrajectoryInfo::TrajectoryInfo(std::deque<Point> points, const util::YPointer<scene::SceneElement>& element)
    : m_Points(std::move(points)), m_Element(element) {}

void TrajectoryInfo::setPosition(std::uint64_t step) {
  if (step >= m_Points.size()) return;
  if (m_Element) {
    const scene::SceneChange change(scene::_GlobalScene(), scene::LockTransforms);
    moveTo(*m_Element, m_Points[step]);
  }
  m_Position = step;
}

AdvancedTrajectoryInfo::AdvancedTrajectoryInfo(std::unique_ptr<std::deque<MatrixMap>> steps)
    : m_Steps(std::move(steps)) {}

void AdvancedTrajectoryInfo::setPosition(std::uint64_t step) {
  if (!m_Steps || step >= m_Steps->size()) return;
  {
    const scene::SceneChange change(scene::_GlobalScene(), scene::LockTransforms);
    for (const auto& [element, transform] : (*m_Steps)[step]) element->setTransform(transform);
  }
  m_Position = step;
}

TrajectoryHandler* TrajectoryHandler::getInstance() {
  static TrajectoryHandler instance;
  return &instance;
}

void TrajectoryHandler::select(std::unique_ptr<TrajectoryInfo> info) {
  clear();
  if (!info) return;
  m_Info = std::move(info);
  m_Mode = Points;
}

void TrajectoryHandler::select(std::unique_ptr<AdvancedTrajectoryInfo> info) {
  clear();
  if (!info) return;
  m_AdvancedInfo = std::move(info);
  m_Mode = Matrices;
}

void TrajectoryHandler::clear() {
  m_Mode = None;
  m_Info.reset();
  m_AdvancedInfo.reset();
}

}  // namespace nubo::trajectory
