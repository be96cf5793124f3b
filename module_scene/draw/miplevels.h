// Smaller and smaller versions of a picture, down to one pixel.
#pragma once

#include <QImage>

namespace nubo::scene {

/// Whether both sides can be halved without a remainder until they are one pixel long.
bool halvesEvenly(const QSize& size);

/// The next smaller version of a picture of Format_RGBA8888 that halvesEvenly(): each pixel is the mean of four. To the
/// bit what Mesa's software OpenGL makes of a texture, which draws each version for itself and takes many times as
/// long.
QImage halved(const QImage& image);

}  // namespace nubo::scene
