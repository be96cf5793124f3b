// Views through the cameras of models.
#pragma once

#include "module_scene/graph/filecamera.h"
#include "module_scene/gui/camera.h"

namespace nubo::gui {

/// What the camera shows where it stands now: its picture from bottom to top, whatever the view's width. It orbits
/// about a point in the middle of the picture, as far away as the middle of `box`, the scene's. The caller holds the
/// scene's lock.
NUBO_MODULE_SCENE_EXPORT Camera cameraOf(const scene::FileCamera& source, const scene::BoundingBox& box);

}  // namespace nubo::gui
