// Smaller versions of pictures.
#pragma once

#include <QImage>

namespace nubo::poster {

/// A picture with half the pixels across and down, rounded up: each is the mean of four, the last of an odd number
/// counting twice. Colours count as much as they cover (premultiplied averaging), so that what is not covered leaves no
/// fringe; where nothing is, they are averaged as they are. Both pictures are Format_ARGB32, with straight alpha.
QImage halved(const QImage& picture);

}  // namespace nubo::poster
