// Where the options of a call put the camera.
#pragma once

#include <QString>

#include "module_scene/graph/boundingbox.h"
#include "module_scene/gui/camera.h"

namespace nubo::app {

struct CommandLine;

/// The direction from which the scene in that box is seen, and what is up in it. The empty text, or one line that says
/// which option makes no sense.
[[nodiscard]] QString directCamera(const CommandLine& line, const scene::BoundingBox& box, gui::Camera& camera);
/// Moves a camera with that direction, which shows all of the scene, to where the options want it. The empty text, or
/// one line on what is worth knowing of that place.
QString placeCamera(const CommandLine& line, const scene::BoundingBox& box, gui::Camera& camera);
/// A camera that stands at a point and looks at another, whatever the options say of these, and otherwise does as they
/// want. The empty text, or one line that says which option makes no sense.
[[nodiscard]] QString cameraAt(const CommandLine& line, const math::Vector3& eye, const math::Vector3& target,
                               const scene::BoundingBox& box, gui::Camera& camera);

}  // namespace nubo::app
