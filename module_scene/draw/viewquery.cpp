#include "module_scene/draw/viewquery.h"

#include <QOpenGLFunctions>
#include <algorithm>
#include <cmath>

#include "module_scene/draw/viewpoint.h"

namespace nubo::scene {

namespace {

double widest(GLenum smooth, GLenum plain) {
  GLfloat ranges[2][2]{};
  glGetFloatv(smooth, ranges[0]);
  glGetFloatv(plain, ranges[1]);
  return double(std::max(1.0f, std::min(ranges[0][1], ranges[1][1])));
}

}  // namespace

int ViewQuery::samplesNeeded() const {
  constexpr double Thin = 2;
  constexpr int ForThin = 16;
  const bool isThin = edges && widthScale < Thin && isPicture(layers);
  return samples > 0 && isThin ? std::max(samples, ForThin) : samples;
}

// A tile shows a part of the frustum as large as the whole picture does, so that its scale is the picture's.
void ViewQuery::scaleWidths(int viewHeight, double lens) {
  if (viewHeight > 0) {
    widthScale = height * std::abs(projection(1, 1)) / lens * std::tan(HalfOpening) / viewHeight;
  }
  widestPoint = widest(GL_SMOOTH_POINT_SIZE_RANGE, GL_ALIASED_POINT_SIZE_RANGE);
  widestLine = widest(GL_SMOOTH_LINE_WIDTH_RANGE, GL_ALIASED_LINE_WIDTH_RANGE);
}

int marginFor(float width) { return int(std::ceil(std::max(width, 1.0f) / 2)) + 1; }

math::Matrix4 extended(const math::Matrix4& projection, int width, int height, int margin) {
  if (margin == 0) return projection;
  return math::scaling(double(width) / (width + 2 * margin), double(height) / (height + 2 * margin), 1) * projection;
}

}  // namespace nubo::scene
