// For files that cannot hold how much of a pixel is covered.
#pragma once

#include "module_scene/graph/background.h"
#include "picture/visibility.h"

namespace nubo::picture {

/// The picture, in straight alpha of 32 bits, laid over the background: in its own memory, where nobody else has that.
/// Any thread.
NUBO_PICTURE_EXPORT QImage laidOver(const scene::Background& background, QImage picture);

/// Those pixels of a picture, from that corner on.
NUBO_PICTURE_EXPORT QImage laidOver(const scene::Backdrop& backdrop, const QPoint& corner, const QImage& pixels);

}  // namespace nubo::picture
