#include "nubo/cli/trajectorychoice.h"

#include <QCoreApplication>
#include <QSettings>
#include <algorithm>
#include <iterator>
#include <set>

#include "kernel/log/logger.h"
#include "kernel/main/overseer.h"
#include "module_trajectory/animationtrajectory.h"
#include "module_trajectory/camerapath.h"
#include "module_trajectory/jointfile.h"
#include "module_trajectory/marker.h"
#include "module_trajectory/pointfile.h"
#include "module_trajectory/turntable.h"
#include "nubo/cli/cameraplace.h"
#include "nubo/cli/suggestion.h"

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

/// Moves the scene through all of a trajectory, in no more steps than it takes to see it.
template <class Info>
void show(Info& info, std::size_t count, const std::function<void()>& look) {
  if (!look) return;
  constexpr std::size_t Enough = 60;
  const std::size_t shown = std::min(count, Enough);
  for (std::size_t i = 0; i < shown; ++i) {
    info.setPosition(shown > 1 ? i * (count - 1) / (shown - 1) : 0);
    look();
  }
  info.setPosition(0);
}

void collectNamed(scene::SceneElement& element, const QString& name, std::vector<scene::SceneElement*>& found) {
  if (element.getName() == name) found.push_back(&element);
  for (const auto& child : element.getChildren()) collectNamed(*child, name, found);
}

void collectNames(const scene::SceneElement& element, QStringList& names) {
  if (!element.getName().isEmpty() && !names.contains(element.getName())) names << element.getName();
  for (const auto& child : element.getChildren()) collectNames(*child, names);
}

QString whyNoElement(const scene::SceneElement& root, const QString& name) {
  QStringList names;
  collectNames(root, names);
  return QStringLiteral("--element %1: the scene has no such element").arg(name) + choiceOf(name, names);
}

/// The element of that name or, of several, the one whose number follows as in "wheel#2". Null with an error.
scene::SceneElement* findElement(scene::SceneElement& root, const QString& name, QString& error) {
  std::vector<scene::SceneElement*> found;
  collectNamed(root, name, found);
  if (found.size() == 1) return found.front();
  if (found.size() > 1) {
    QStringList choices;
    for (std::size_t i = 0; i < found.size() && i < 4; ++i) {
      const scene::SceneElement* parent = found[i]->getParent();
      choices << QStringLiteral("%1#%2 (in \"%3\")").arg(name).arg(i + 1).arg(parent ? parent->getName() : QString());
    }
    error = QStringLiteral("--element %1: %2 elements have this name; choose %3%4")
                .arg(name)
                .arg(found.size())
                .arg(choices.join(QLatin1String(", ")), found.size() > 4 ? QStringLiteral(", ...") : QString());
    return nullptr;
  }
  const int mark = name.lastIndexOf('#');
  collectNamed(root, name.left(mark), found);
  const int number = name.mid(mark + 1).toInt();
  if (mark > 0 && number > 0 && std::size_t(number) <= found.size()) return found[std::size_t(number) - 1];
  error = whyNoElement(root, name);
  return nullptr;
}

/// What the points shall move: a marker, or the element of that name beside a line through the points.
util::YPointer<scene::SceneElement> createMoved(const std::deque<Point>& points, const QString& name, QString& error) {
  if (name.isEmpty()) return createMarker(points);
  const auto scene = scene::_GlobalScene();
  const util::YPointer<scene::SceneElement> root = scene->getRootNode();
  const util::YPointer<scene::SceneElement> element = root ? findElement(*root, name, error) : nullptr;
  if (!element) return nullptr;
  if (element == root) {
    // The line must not move with it.
    const util::YPointer<scene::SceneElement> newRoot(new scene::SceneElement);
    scene->setRootNode(nullptr);
    newRoot->addChild(root);
    scene->setRootNode(newRoot);
  }
  createPath(points);
  return element;
}

QString selectPoints(const CommandLine& line, const std::function<void()>& look) {
  QString error;
  const std::deque<Point> points = readPointFile(line.trajectory, error);
  if (points.empty()) return error;
  if (!contains(line.steps, points.size())) return outOfRange(line.steps, points.size());
  // The line shows the whole path, whatever part of it is played.
  const util::YPointer<scene::SceneElement> moved = createMoved(points, line.element, error);
  if (!moved) return error;
  TrajectoryInfo whole(points, moved);
  show(whole, points.size(), look);
  auto info = std::make_unique<TrajectoryInfo>(cut(points, line.steps), moved);
  info->setPosition(0);
  TrajectoryHandler::getInstance()->select(std::move(info));
  return QString();
}

QString selectMatrices(std::unique_ptr<AdvancedTrajectoryInfo> info, const Range& steps,
                       const std::function<void()>& look) {
  const std::deque<MatrixMap>& all = *info->getMatrixMapList();
  if (!contains(steps, all.size())) return outOfRange(steps, all.size());
  show(*info, all.size(), look);
  if (steps) {
    const std::deque<WeightMap>& weights = info->getWeightMapList();
    const std::deque<gui::Camera>& cameras = info->getCameraList();
    info = std::make_unique<AdvancedTrajectoryInfo>(std::make_unique<std::deque<MatrixMap>>(cut(all, steps)),
                                                    weights.empty() ? weights : cut(weights, steps),
                                                    cameras.empty() ? cameras : cut(cameras, steps));
    info->setPosition(0);
  }
  TrajectoryHandler::getInstance()->select(std::move(info));
  return QString();
}

/// Those that share no element with an earlier one.
std::vector<scene::Animation> together(const std::vector<scene::Animation>& all) {
  std::vector<scene::Animation> result;
  std::set<const scene::SceneElement*> moved;
  for (const scene::Animation& animation : all) {
    const bool isFree = std::none_of(animation.tracks.begin(), animation.tracks.end(),
                                     [&](const auto& track) { return moved.count(track.element.get()) > 0; });
    if (!isFree) continue;
    for (const scene::AnimationTrack& track : animation.tracks) moved.insert(track.element.get());
    result.push_back(animation);
  }
  return result;
}

/// Of one file there is one at most, but several files may have it.
std::vector<scene::Animation> named(const std::vector<scene::Animation>& all, const QString& name) {
  std::vector<scene::Animation> result;
  std::copy_if(all.begin(), all.end(), std::back_inserter(result),
               [&](const scene::Animation& animation) { return animation.name == name; });
  return result;
}

QString whyNoAnimation(const std::vector<scene::Animation>& all, const QString& name) {
  QStringList names;
  for (const scene::Animation& animation : all) names << animation.name;
  return QStringLiteral("--animation %1: the scene has no such animation").arg(name) + choiceOf(name, names);
}

/// As long as the path: an animation that is shorter stands still at its end.
template <class Step>
std::deque<Step> fitted(const std::deque<Step>& steps, std::size_t count) {
  std::deque<Step> fitted = steps;
  fitted.resize(count, steps.empty() ? Step() : steps.back());
  return fitted;
}

/// What moves the scene meanwhile goes on doing so.
std::unique_ptr<AdvancedTrajectoryInfo> withCameras(const CommandLine& line, const AdvancedTrajectoryInfo* moving,
                                                    QString& error) {
  const std::deque<CameraPlace> places = readCameraPath(line.cameraPath, playingRate(), error);
  if (places.empty()) return nullptr;
  const auto scene = scene::_GlobalScene();
  const scene::BoundingBox box = scene->getRootNode()->getBoundingBox();
  std::deque<gui::Camera> cameras;
  for (const CameraPlace& place : places) {
    cameras.emplace_back();
    error = cameraAt(line, place.eye, place.target, box, cameras.back());
    if (!error.isEmpty()) return nullptr;
  }
  auto steps = std::make_unique<std::deque<MatrixMap>>(
      fitted(moving ? *moving->getMatrixMapList() : std::deque<MatrixMap>(), places.size()));
  const std::deque<WeightMap> weights = moving ? moving->getWeightMapList() : std::deque<WeightMap>();
  return std::make_unique<AdvancedTrajectoryInfo>(
      std::move(steps), weights.empty() ? weights : fitted(weights, places.size()), std::move(cameras));
}

}  // namespace

int playingRate() { return std::max(1, main::nuboSettings()->value("settings/grabvideofps", "25").toInt()); }

QString chooseTrajectory(const CommandLine& line, const std::vector<scene::Animation>& animations,
                         const std::function<void()>& look) {
  if (!line.trajectory.isEmpty()) {
    const util::YPointer<scene::SceneElement> root = scene::_GlobalScene()->getRootNode();
    if (!root || !namesJoints(line.trajectory, *root)) return selectPoints(line, look);
    QString error;
    auto joints = readJointFile(line.trajectory, *root, error);
    return joints ? selectMatrices(std::move(joints), line.steps, look) : error;
  }
  constexpr int TurnSeconds = 10;
  const int rate = playingRate();
  std::unique_ptr<AdvancedTrajectoryInfo> info;
  const std::vector<scene::Animation> played =
      line.animation.isEmpty() ? together(animations) : named(animations, line.animation);
  if (!line.animation.isEmpty() && played.empty()) return whyNoAnimation(animations, line.animation);
  if (!line.turntable && !played.empty()) {
    QString error;
    info = createAnimationTrajectory(played, rate, error);
    if (!info && !line.animation.isEmpty()) return error;
    // Nobody asked for the animations, so that a picture is not refused for their sake.
    if (!info) NUBO_LOG(log::Note, "nubo::app::chooseTrajectory", error);
  }
  if (!line.cameraPath.isEmpty()) {
    QString error;
    info = withCameras(line, info.get(), error);
    // Nothing is framed that the path has its own view of.
    return info ? selectMatrices(std::move(info), line.steps, nullptr) : error;
  }
  if (!info) info = createTurntable(line.turntable.value_or(TurnSeconds * rate));
  return info ? selectMatrices(std::move(info), line.steps, look)
              : QCoreApplication::translate("Trajectory", "the scene has nothing that could move");
}

}  // namespace nubo::app
