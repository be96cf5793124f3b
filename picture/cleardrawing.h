// What the tiles of a picture and the frames of a video begin with.
#pragma once

#include "picture/visibility.h"

namespace nubo::scene {
class SceneDrawer;
}

namespace nubo::picture {

/// Clears the bound framebuffer of this size in pixels to the background's colour, with nothing covered, and leaves the
/// context in the state that the drawer is given: lit, with the projection as the matrix that is to be set next.
NUBO_PICTURE_EXPORT void clearForDrawing(scene::SceneDrawer& drawer, int width, int height);

}  // namespace nubo::picture
