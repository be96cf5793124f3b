// Whether a cluster's faces look towards the eye.
#pragma once

#include <algorithm>
#include <cmath>

#include "module_scene/draw/culler.h"

namespace nubo::scene {

/// The eye's place in the space that an affine matrix, which has an inverse, leads to eye space from.
inline math::Vector3 originSeenFrom(const math::Matrix4& modelView) {
  const math::Matrix4 inverse = math::affineInverse(modelView);
  return {inverse(0, 3), inverse(1, 3), inverse(2, 3)};
}

inline math::Vector3 centerOf(const Cluster& cluster) {
  math::Vector3 center;
  for (int i = 0; i < 3; ++i) center[i] = 0.5 * (double(cluster.min[i]) + cluster.max[i]);
  return center;
}

/// Whether no face of the cluster looks towards the eye, for which both are seen from one space. All
/// directions from the eye to the cluster lie within asin(radius / distance) of that to its centre.
inline bool facesAway(const Cluster& cluster, const math::Vector3& eye) {
  const double cosine = cluster.cone[3];
  if (cosine <= 0) return false;
  const math::Vector3 center = centerOf(cluster);
  double along = 0, square = 0;
  for (int i = 0; i < 3; ++i) {
    const double d = center[i] - eye[i];
    along += d * cluster.cone[i];
    square += d * d;
  }
  const double radius = Culler::radius(cluster);
  if (along <= 0 || square <= radius * radius) return false;
  const double distance = std::sqrt(square);
  const double sine = std::sqrt(std::max(0.0, 1 - cosine * cosine));
  const double spreadSine = radius / distance, spreadCosine = std::sqrt(1 - spreadSine * spreadSine);
  const double bothCosine = cosine * spreadCosine - sine * spreadSine;
  const double bothSine = sine * spreadCosine + cosine * spreadSine;
  constexpr double Rounding = 1e-4;
  return bothCosine > 0 && along > distance * (bothSine + Rounding);
}

}  // namespace nubo::scene
