// How wide the points of scans are drawn where one looks at them from so near that there would be gaps between them.
#pragma once

#include <algorithm>
#include <cmath>
#include <iterator>
#include <vector>

#include "module_scene/draw/buffercache.h"
#include "module_scene/draw/culler.h"
#include "module_scene/graph/geometry.h"

namespace nubo::scene {

/// As the points of a scan are, of which there are more here than there: so many times as many as evenly spread ones
/// leave no gaps on a surface.
constexpr double UnevenPoints = 2;

/// Of the points of one geometry in one view. Nothing but what a cluster and the whole view are has a say, so that
/// tiles agree.
class GapFilling {
 public:
  /// What has few points shows places rather than a surface.
  static bool isFor(const Geometry& geometry) {
    constexpr std::size_t Few = 10000;
    return geometry.kind == KindPoints && geometry.identities.empty() && geometry.primitiveCount() >= Few;
  }
  /// Pixels. Points that stand alone are no large squares.
  static float widest(const ViewQuery& query) {
    constexpr double Widest = 8;
    return float(std::min(Widest * query.widthScale, query.widestPoint));
  }

  /// `width`: pixels that a point takes otherwise. The geometry must outlive this.
  GapFilling(const Geometry& geometry, const math::Matrix4& modelView, float width, const ViewQuery& query)
      : m_Clusters(geometry.clusters),
        m_Width(double(width)),
        m_Widest(double(widest(query))),
        m_Usual(query, modelView, marginFor(width)) {}

  /// Of a cluster's points; 0: as wide as otherwise. In steps, so that rounding does not have tiles differ.
  float widthOf(const Cluster& cluster, const Culler& culler) const {
    constexpr double StepsPerDouble = 4;
    if (m_Widest <= m_Width || culler.isSmaller(gapOf(cluster), cluster, m_Width)) return 0;
    // Some clusters reach from one part of a surface to another, which those before and after them do not.
    double gap = gapOf(cluster);
    if (&cluster != &m_Clusters.front()) gap = std::min(gap, gapOf(*(&cluster - 1)));
    if (&cluster != &m_Clusters.back()) gap = std::min(gap, gapOf(*(&cluster + 1)));
    const double needed = culler.pixelsOf(gap, cluster);
    if (needed <= m_Width) return 0;
    return float(std::min(std::exp2(std::ceil(StepsPerDouble * std::log2(needed)) / StepsPerDouble), m_Widest));
  }
  /// Whether a cluster whose points are as wide as otherwise reaches into the view.
  bool isUsuallySeen(const Cluster& cluster) const { return m_Usual.overlap(cluster) != Overlap::None; }

 private:
  /// How wide points must be to leave none, in the geometry's units.
  static double gapOf(const Cluster& cluster) {
    return 2 * Culler::radius(cluster) * std::sqrt(UnevenPoints / std::max(1.0, double(cluster.count)));
  }

  const std::vector<Cluster>& m_Clusters;
  double m_Width, m_Widest;
  Culler m_Usual;
};

/// Gives points one width for all, which all but a tenth of the ranges need at most.
inline void evenOut(std::vector<Range>::iterator begin, std::vector<Range>::iterator end) {
  std::vector<float> widths;
  std::transform(begin, end, std::back_inserter(widths), [](const Range& range) { return range.width; });
  if (widths.empty()) return;
  const auto most = widths.begin() + std::ptrdiff_t(widths.size() * 9 / 10);
  std::nth_element(widths.begin(), most, widths.end());
  std::for_each(begin, end, [&](Range& range) { range.width = *most; });
}

}  // namespace nubo::scene
