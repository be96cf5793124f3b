// Cameras of the scene as views.
#pragma once

#include <optional>
#include <vector>

#include "module_scene/graph/filecamera.h"
#include "module_scene/gui/camera.h"

namespace nubo::app {

/// The NAME of a view that is written camera:NAME.
std::optional<QString> cameraName(const QString& view);
/// The view through the camera of that name. Null with one line in `error` where the scene has none. Any thread; takes
/// the global scene's lock.
std::optional<gui::Camera> namedCamera(const std::vector<scene::FileCamera>& cameras, const QString& name,
                                       QString& error);

}  // namespace nubo::app
