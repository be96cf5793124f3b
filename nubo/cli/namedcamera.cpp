#include "nubo/cli/namedcamera.h"

#include <algorithm>

#include "module_scene/graph/scene.h"
#include "module_scene/gui/cameraview.h"
#include "nubo/cli/suggestion.h"

namespace nubo::app {

std::optional<QString> cameraName(const QString& view) {
  const QString prefix = QStringLiteral("camera:");
  if (!view.startsWith(prefix) || view.size() == prefix.size()) return std::nullopt;
  return view.mid(prefix.size());
}

std::optional<gui::Camera> namedCamera(const std::vector<scene::FileCamera>& cameras, const QString& name,
                                       QString& error) {
  const auto found =
      std::find_if(cameras.begin(), cameras.end(), [&](const auto& camera) { return camera.name == name; });
  if (found == cameras.end()) {
    QStringList names;
    for (const scene::FileCamera& camera : cameras) names << camera.name;
    error = QStringLiteral("--view camera:%1: the scene has no such camera").arg(name) + choiceOf(name, names);
    return std::nullopt;
  }
  const auto scene = scene::_GlobalScene();
  const scene::SceneLocker locker(scene, scene::LockAll);
  const auto root = scene->getRootNode();
  return gui::cameraOf(*found, root ? root->getBoundingBox() : scene::BoundingBox());
}

}  // namespace nubo::app
