// Paths that the scene can be moved along, step by step.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>

#include "module_scene/graph/scene.h"
#include "module_scene/gui/camera.h"
#include "module_trajectory/visibility.h"

namespace nubo::trajectory {

using Point = std::array<double, 4>;  ///< x, y, z and a value of the user's
using MatrixMap = std::map<util::YPointer<scene::SceneElement>, math::Matrix4>;
using WeightMap = std::map<util::YPointer<scene::SceneElement>, std::vector<float>>;  ///< of shapes, per element

/// A list of points that an element is moved along. Any thread; setPosition and the setters take the
/// scene's lock themselves, so the caller must not hold it.
class NUBO_MODULE_TRAJECTORY_EXPORT TrajectoryInfo {
 public:
  /// Moves `element` (null: nothing) of the global scene.
  TrajectoryInfo(std::deque<Point> points, const util::YPointer<scene::SceneElement>& element);
  const std::deque<Point>& getPoints() const { return m_Points; }
  std::uint64_t getPosition() const { return m_Position; }
  /// Brings the scene to that step before it returns; steps beyond the last are ignored.
  void setPosition(std::uint64_t step);

 private:
  std::deque<Point> m_Points;
  util::YPointer<scene::SceneElement> m_Element;
  std::atomic<std::uint64_t> m_Position{0};
};

/// A list of steps that each give some elements a transform, and some the weights of their shapes; and it may have a
/// camera for each. As TrajectoryInfo otherwise.
class NUBO_MODULE_TRAJECTORY_EXPORT AdvancedTrajectoryInfo {
 public:
  /// `weights` and `cameras`: per step, or empty. Cameras are not the scene's, so that whoever shows or records it has
  /// to take them.
  explicit AdvancedTrajectoryInfo(std::unique_ptr<std::deque<MatrixMap>> steps, std::deque<WeightMap> weights = {},
                                  std::deque<gui::Camera> cameras = {});
  /// Null: no steps.
  const std::deque<MatrixMap>* getMatrixMapList() const { return m_Steps.get(); }
  const std::deque<WeightMap>& getWeightMapList() const { return m_Weights; }
  const std::deque<gui::Camera>& getCameraList() const { return m_Cameras; }
  std::uint64_t getPosition() const { return m_Position; }
  void setPosition(std::uint64_t step);

 private:
  std::unique_ptr<std::deque<MatrixMap>> m_Steps;
  std::deque<WeightMap> m_Weights;
  std::deque<gui::Camera> m_Cameras;
  std::atomic<std::uint64_t> m_Position{0};
};

/// Knows the trajectory that the program plays. Selected on the application thread; read on any. Whoever plays a
/// trajectory shares it, and may go on when another one has been selected.
class NUBO_MODULE_TRAJECTORY_EXPORT TrajectoryHandler {
 public:
  enum MODE { Points = 0, Matrices = 1, None = 2 };
  static TrajectoryHandler* getInstance();

  MODE getSelectedMode() const;
  /// Null in other modes.
  std::shared_ptr<TrajectoryInfo> getTrajectoryInfo() const;
  std::shared_ptr<AdvancedTrajectoryInfo> getAdvancedTrajectoryInfo() const;

  /// Brings the scene to that step of the selected trajectory, unless somebody drives it.
  void moveTo(std::uint64_t step);
  bool isDriven() const { return m_Drives > 0; }
  /// Brings the scene back to the step at which drives found it. Does nothing while somebody drives it still, and none
  /// where moveTo() has moved it since, or another trajectory was selected. For the host, when a command has returned;
  /// any thread, but the scene's locks are waited for.
  void putBack();

  void select(std::unique_ptr<TrajectoryInfo> info);
  void select(std::unique_ptr<AdvancedTrajectoryInfo> info);
  void clear();

 private:
  friend class TrajectoryDrive;
  TrajectoryHandler() = default;
  void replace(std::shared_ptr<TrajectoryInfo> info, std::shared_ptr<AdvancedTrajectoryInfo> advancedInfo);
  void noteFound();
  std::optional<std::uint64_t> takeFoundAt();

  mutable std::mutex m_Mutex;  ///< guards the next three; one trajectory at most is not null
  std::shared_ptr<TrajectoryInfo> m_Info;
  std::shared_ptr<AdvancedTrajectoryInfo> m_AdvancedInfo;
  std::optional<std::uint64_t> m_FoundAt;  ///< the step at which the first drive found the selected one
  std::mutex m_Moving;                     ///< held while this moves the scene; taken before m_Mutex
  std::atomic<int> m_Drives{0};
  std::mutex m_Turn;  ///< of those that drive
};

/// The trajectory that was selected when this was made, of either mode; without one it has no steps. Any thread.
class NUBO_MODULE_TRAJECTORY_EXPORT SelectedTrajectory {
 public:
  SelectedTrajectory();
  std::uint64_t position() const;
  /// May change from step to step.
  std::uint64_t count() const;
  /// As that of the trajectory; without one it does nothing.
  void setPosition(std::uint64_t step) const;
  /// Where the scene is to be looked at from at its position, if it says so.
  std::optional<gui::Camera> camera() const;

 private:
  std::shared_ptr<TrajectoryInfo> mp_Points;
  std::shared_ptr<AdvancedTrajectoryInfo> mp_Matrices;
};

/// For as long as it lives, the scene moves only as its owner wants it: moveTo() does nothing. Any thread, but not
/// while it holds the scene's lock.
class NUBO_MODULE_TRAJECTORY_EXPORT TrajectoryDrive {
 public:
  TrajectoryDrive();
  ~TrajectoryDrive();
  TrajectoryDrive(const TrajectoryDrive&) = delete;
  TrajectoryDrive& operator=(const TrajectoryDrive&) = delete;
  /// Several may drive at once, step by step in turn: while one holds this lock, the others wait for theirs.
  [[nodiscard]] std::unique_lock<std::mutex> takeTurn() const;
};

}  // namespace nubo::trajectory
