#include "module_scene/draw/viewpoint.h"

#include <algorithm>
#include <array>

namespace nubo::scene {

namespace {

/// A perspective in which the lens is the projection's.
Viewpoint withoutLens(const math::Matrix4& projection, const math::Matrix4& transform) {
  Viewpoint result{projection, transform};
  double squares[3], products = 0;
  for (int i = 0; i < 3; ++i) {
    const int next = (i + 1) % 3;
    squares[i] = 0;
    double product = 0;
    for (int k = 0; k < 3; ++k) {
      squares[i] += transform(i, k) * transform(i, k);
      product += transform(i, k) * transform(next, k);
    }
    products = std::max(products, std::abs(product));
  }
  constexpr double Rounding = 1e-6;
  const double square = squares[0];
  const bool isLens = squares[2] > 0 && products <= Rounding * square && products <= Rounding * squares[2] &&
                      std::abs(squares[1] - square) <= Rounding * square &&
                      std::abs(squares[2] - square) > Rounding * square;
  if (!isLens) return result;
  result.lens = std::sqrt(square / squares[2]);
  result.view = math::scaling(1 / result.lens, 1 / result.lens, 1) * transform;
  result.projection = projection * math::scaling(result.lens, result.lens, 1);
  return result;
}

}  // namespace

Viewpoint Viewpoint::of(const math::Matrix4& projection, const math::Matrix4& transform) {
  const auto row = [&](int i) { return math::Vector3{transform(i, 0), transform(i, 1), transform(i, 2)}; };
  const auto dot = [](const math::Vector3& a, const math::Vector3& b) {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
  };
  const math::Vector3 x = row(0), y = row(1), depth = row(3);
  const double scale = std::sqrt(dot(x, x));
  if (row(2) != math::Vector3{0, 0, 0} || depth == math::Vector3{0, 0, 0} || !(scale > 0))
    return withoutLens(projection, transform);

  Viewpoint result;
  result.parallel = true;
  result.view = transform;
  math::Vector3 z{};
  for (int i = 0; i < 3; ++i) {
    const int j = (i + 1) % 3, k = (i + 2) % 3;
    z[std::size_t(i)] = (x[std::size_t(j)] * y[std::size_t(k)] - x[std::size_t(k)] * y[std::size_t(j)]) / scale;
    result.view(2, i) = z[std::size_t(i)];
    result.view(3, i) = 0;
  }
  result.view(2, 3) = transform(2, 3);  // any place will do along a line of sight without an eye
  result.view(3, 3) = 1;

  math::Matrix4 flat;  // what the transform does beyond that
  const double slope = dot(depth, z) / (scale * scale);
  flat(2, 2) = 0;
  flat(2, 3) = transform(2, 3);
  flat(3, 2) = slope;
  flat(3, 3) = transform(3, 3) - slope * result.view(2, 3);
  result.projection = projection * flat;
  return result;
}

}  // namespace nubo::scene
