// A picture of fine detail.
#pragma once

#include <QImage>

namespace nubo::scene {

/// A resolution chart: lettering of decreasing size, bars, a star, circles and a grey wedge. Drawn with
/// strokes, so that no fonts are needed. `size` is the edge of the square picture in pixels.
QImage createTestChart(int size);

}  // namespace nubo::scene
