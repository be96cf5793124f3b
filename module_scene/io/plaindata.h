// How what builds a scene takes the values of a reader, of which none are trusted.
#pragma once

#include <cmath>

#include "module_scene/io/reader/record.h"
#include "module_scene/math/matrix.h"

namespace nubo::io {

/// Throws reader::BadRecord where that is not so; `otherwise` tells the reader's writer what is wrong then.
inline void require(bool holds, const char* otherwise) {
  if (!holds) throw reader::BadRecord(otherwise);
}

/// A transform by columns; identity where one of them is no number.
inline math::Matrix4 toMatrix(const std::array<double, 16>& columns) {
  math::Matrix4 m;
  for (int i = 0; i < 16; ++i) {
    if (!std::isfinite(columns[std::size_t(i)])) return math::Matrix4();
    m(i % 4, i / 4) = columns[std::size_t(i)];
  }
  return m;
}

}  // namespace nubo::io
