#include "module_trajectory/trajectory.h"

#include <utility>

#include "module_scene/mesh/posing.h"

namespace nubo::trajectory {

namespace {

/// What moves can deform meshes.
constexpr auto Movement = scene::LOCKTYPE(scene::LockTransforms | scene::LockData);

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
    const scene::SceneChange change(scene::_GlobalScene(), Movement);
    moveTo(*m_Element, m_Points[step]);
    scene::Posing posing;
    posing.moved(*m_Element);
    posing.finish();
  }
  m_Position = step;
}

AdvancedTrajectoryInfo::AdvancedTrajectoryInfo(std::unique_ptr<std::deque<MatrixMap>> steps,
                                               std::deque<WeightMap> weights, std::deque<gui::Camera> cameras)
    : m_Steps(std::move(steps)), m_Weights(std::move(weights)), m_Cameras(std::move(cameras)) {}

void AdvancedTrajectoryInfo::setPosition(std::uint64_t step) {
  if (!m_Steps || step >= m_Steps->size()) return;
  {
    const scene::SceneChange change(scene::_GlobalScene(), Movement);
    scene::Posing posing;
    for (const auto& [element, transform] : (*m_Steps)[step]) {
      element->setTransform(transform);
      posing.moved(*element);
    }
    if (step < m_Weights.size())
      for (const auto& [element, weights] : m_Weights[step]) {
        element->setShapeWeights(weights);
        posing.moved(*element);
      }
    posing.finish();
  }
  m_Position = step;
}

TrajectoryHandler* TrajectoryHandler::getInstance() {
  static TrajectoryHandler instance;
  return &instance;
}

TrajectoryHandler::MODE TrajectoryHandler::getSelectedMode() const {
  const std::lock_guard lock(m_Mutex);
  if (m_Info) return Points;
  return m_AdvancedInfo ? Matrices : None;
}

std::shared_ptr<TrajectoryInfo> TrajectoryHandler::getTrajectoryInfo() const {
  const std::lock_guard lock(m_Mutex);
  return m_Info;
}

std::shared_ptr<AdvancedTrajectoryInfo> TrajectoryHandler::getAdvancedTrajectoryInfo() const {
  const std::lock_guard lock(m_Mutex);
  return m_AdvancedInfo;
}

void TrajectoryHandler::moveTo(std::uint64_t step) {
  const std::lock_guard moving(m_Moving);
  if (isDriven()) return;
  takeFoundAt();  // the scene stays where it is moved to now
  SelectedTrajectory().setPosition(step);
}

void TrajectoryHandler::putBack() {
  const std::lock_guard moving(m_Moving);
  if (isDriven()) return;
  if (const auto step = takeFoundAt()) SelectedTrajectory().setPosition(*step);
}

std::optional<std::uint64_t> TrajectoryHandler::takeFoundAt() {
  const std::lock_guard lock(m_Mutex);
  return std::exchange(m_FoundAt, std::nullopt);
}

void TrajectoryHandler::noteFound() {
  const std::uint64_t position = SelectedTrajectory().position();
  const std::lock_guard lock(m_Mutex);
  if (!m_FoundAt) m_FoundAt = position;
}

void TrajectoryHandler::select(std::unique_ptr<TrajectoryInfo> info) { replace(std::move(info), nullptr); }

void TrajectoryHandler::select(std::unique_ptr<AdvancedTrajectoryInfo> info) { replace(nullptr, std::move(info)); }

void TrajectoryHandler::clear() { replace(nullptr, nullptr); }

/// The earlier one goes, unless somebody plays it, when the lock has been released: its elements go with it.
void TrajectoryHandler::replace(std::shared_ptr<TrajectoryInfo> info,
                                std::shared_ptr<AdvancedTrajectoryInfo> advancedInfo) {
  const std::lock_guard lock(m_Mutex);
  m_Info.swap(info);
  m_AdvancedInfo.swap(advancedInfo);
  m_FoundAt.reset();
}

SelectedTrajectory::SelectedTrajectory()
    : mp_Points(TrajectoryHandler::getInstance()->getTrajectoryInfo()),
      mp_Matrices(TrajectoryHandler::getInstance()->getAdvancedTrajectoryInfo()) {}

std::uint64_t SelectedTrajectory::position() const {
  if (mp_Points) return mp_Points->getPosition();
  return mp_Matrices ? mp_Matrices->getPosition() : 0;
}

std::uint64_t SelectedTrajectory::count() const {
  if (mp_Points) return mp_Points->getPoints().size();
  const auto* steps = mp_Matrices ? mp_Matrices->getMatrixMapList() : nullptr;
  return steps ? steps->size() : 0;
}

void SelectedTrajectory::setPosition(std::uint64_t step) const {
  if (mp_Points) mp_Points->setPosition(step);
  if (mp_Matrices) mp_Matrices->setPosition(step);
}

std::optional<gui::Camera> SelectedTrajectory::camera() const {
  const std::uint64_t step = position();
  if (!mp_Matrices || step >= mp_Matrices->getCameraList().size()) return std::nullopt;
  return mp_Matrices->getCameraList()[step];
}

TrajectoryDrive::TrajectoryDrive() {
  TrajectoryHandler* handler = TrajectoryHandler::getInstance();
  const std::lock_guard moving(handler->m_Moving);
  handler->noteFound();
  ++handler->m_Drives;
}

TrajectoryDrive::~TrajectoryDrive() { --TrajectoryHandler::getInstance()->m_Drives; }

std::unique_lock<std::mutex> TrajectoryDrive::takeTurn() const {
  return std::unique_lock(TrajectoryHandler::getInstance()->m_Turn);
}

}  // namespace nubo::trajectory
