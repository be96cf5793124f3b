#include "module_trajectory/trajectory.h"

namespace nubo::trajectory {

TrajectoryHandler* TrajectoryHandler::getInstance() {
  static TrajectoryHandler instance;
  return &instance;
}

}  // namespace nubo::trajectory
