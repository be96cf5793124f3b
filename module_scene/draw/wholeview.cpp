#include "module_scene/draw/wholeview.h"

#include <algorithm>

namespace nubo::scene {

ViewWindow ViewWindow::of(const Viewpoint& viewpoint) {
  const math::Matrix4& p = viewpoint.projection;
  // Normalised coordinates are a straight line of x / -z, or of x where the view is parallel.
  const double unit = viewpoint.parallel ? p(3, 3) : 1;
  const double shift[]{viewpoint.parallel ? p(0, 3) / unit : -p(0, 2), viewpoint.parallel ? p(1, 3) / unit : -p(1, 2)};
  const double factor[]{p(0, 0) / unit, p(1, 1) / unit};
  return {(-1 - shift[0]) / factor[0], (1 - shift[0]) / factor[0], (-1 - shift[1]) / factor[1],
          (1 - shift[1]) / factor[1]};
}

ViewWindow ViewWindow::whole() const {
  constexpr double More = 1.08;
  // Tiles and the whole round differently; in this they agree.
  const double x = More * double(float(std::max(-left, right))), y = More * double(float(std::max(-bottom, top)));
  return {-x, x, -y, y};
}

bool ViewWindow::holds(const ViewWindow& other) const {
  return left <= other.left && right >= other.right && bottom <= other.bottom && top >= other.top;
}

LinearMap between(const ViewWindow& from, const ViewWindow& to) {
  LinearMap result;
  result.factor[0] = from.width() / to.width();
  result.factor[1] = from.height() / to.height();
  result.offset[0] = (from.left + from.right - to.left - to.right) / to.width();
  result.offset[1] = (from.bottom + from.top - to.bottom - to.top) / to.height();
  return result;
}

math::Matrix4 projectionOf(const Viewpoint& viewpoint, const ViewWindow& window) {
  const LinearMap map = between(ViewWindow::of(viewpoint), window);
  math::Matrix4 result = viewpoint.projection;
  for (int row = 0; row < 2; ++row)
    for (int column = 0; column < 4; ++column)
      result(row, column) =
          map.factor[row] * viewpoint.projection(row, column) + map.offset[row] * viewpoint.projection(3, column);
  return result;
}

}  // namespace nubo::scene
