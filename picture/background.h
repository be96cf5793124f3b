// For files that cannot hold how much of a pixel is covered.
#pragma once

#include <QColor>
#include <QImage>

#include "picture/visibility.h"

namespace nubo::picture {

/// The picture, in straight alpha, laid over the background; where there is no memory for that, the picture itself. Any
/// thread.
NUBO_PICTURE_EXPORT QImage laidOver(const QColor& background, const QImage& picture);

}  // namespace nubo::picture
