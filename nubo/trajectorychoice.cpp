#include "nubo/trajectorychoice.h"

#include <QSettings>
#include <algorithm>

#include "kernel/log/logger.h"
#include "kernel/main/overseer.h"
#include "module_trajectory/animationtrajectory.h"
#include "module_trajectory/marker.h"
#include "module_trajectory/pointfile.h"
#include "module_trajectory/turntable.h"

namespace nubo::app {

namespace {

using namespace trajectory;
using Range = std::optional<std::pair<int, int>>;

QString outOfRange(const Range& steps, std::size_t count) {
  return QStringLiteral("--steps %1:%2: the trajectory has %3 steps, counted from 0")
      .arg(steps->first)
      .arg(steps->second)
      .arg(count);
}

bool contains(const Range& steps, std::size_t count) { return !steps || std::size_t(steps->second) < count; }

template <class Step>
std::deque<Step> cut(const std::deque<Step>& all, const Range& steps) {
  return steps ? std::deque<Step>(all.begin() + steps->first, all.begin() + steps->second + 1) : all;
}

QString selectPoints(const QString& fileName, const Range& steps) {
  QString error;
  const std::deque<Point> points = readPointFile(fileName, error);
  if (points.empty()) return error;
  if (!contains(steps, points.size())) return outOfRange(steps, points.size());
  // The marker's line shows the whole path, whatever part of it is played.
  auto info = std::make_unique<TrajectoryInfo>(cut(points, steps), createMarker(points));
  info->setPosition(0);
  TrajectoryHandler::getInstance()->select(std::move(info));
  return QString();
}

QString selectMatrices(std::unique_ptr<AdvancedTrajectoryInfo> info, const Range& steps) {
  const std::deque<MatrixMap>& all = *info->getMatrixMapList();
  if (!contains(steps, all.size())) return outOfRange(steps, all.size());
  if (steps) {
    info = std::make_unique<AdvancedTrajectoryInfo>(std::make_unique<std::deque<MatrixMap>>(cut(all, steps)));
    info->setPosition(0);
  }
  TrajectoryHandler::getInstance()->select(std::move(info));
  return QString();
}

}  // namespace

int playingRate() { return std::max(1, main::nuboSettings()->value("settings/grabvideofps", "25").toInt()); }

QString chooseTrajectory(const CommandLine& line, const std::vector<scene::Animation>& animations) {
  if (!line.trajectory.isEmpty()) return selectPoints(line.trajectory, line.steps);
  constexpr int TurnSeconds = 10;
  const int rate = playingRate();
  std::unique_ptr<AdvancedTrajectoryInfo> info;
  if (!line.turntable && !animations.empty()) {
    QString error;
    info = createAnimationTrajectory(animations, rate, error);
    // Nobody asked for the animations, so that a picture is not refused for their sake.
    if (!info) log::Logger::getInstance()->log(log::Note, __FILE__, __LINE__, Q_FUNC_INFO, nullptr, error);
  }
  if (!info) info = createTurntable(line.turntable.value_or(TurnSeconds * rate));
  return info ? selectMatrices(std::move(info), line.steps) : QStringLiteral("the scene has nothing that could move");
}

}  // namespace nubo::app
