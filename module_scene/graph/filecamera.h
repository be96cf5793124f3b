// Cameras that come with models.
#pragma once

#include "module_scene/graph/sceneelement.h"

namespace nubo::scene {

/// Looks along the negative z axis of its element, with y upwards.
struct FileCamera {
  QString name;
  util::YPointer<SceneElement> element;
  bool orthographic = false;
  double height = 0.8;  ///< angle of view from bottom to top in radians; orthographic: length in the element's space
};

}  // namespace nubo::scene
