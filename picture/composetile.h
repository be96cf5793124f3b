// Copies a tile into the picture that it belongs to.
#pragma once

#include <QImage>
#include <functional>

#include "picture/visibility.h"

namespace nubo::picture {

/// Copies every pixel of `tile` to `target`, the tile's upper left pixel to column `x0`, row `y0`: what
/// QImage::pixel reads of the tile is what QImage::setPixel stores. Whole rows at once where both images hold
/// 32 bits a pixel. Of a column that does not fit into the target, the first pixel outside is reported by its
/// place in the target, and the rest of that column is left out.
NUBO_PICTURE_EXPORT void composeTile(QImage* target, const QImage& tile, int x0, int y0,
                                     const std::function<void(int x, int y)>& outside);

}  // namespace nubo::picture
