#include "module_scene/draw/drawlist.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "module_scene/draw/viewpoint.h"
#include "module_scene/mesh/coarsening.h"
#include "module_scene/mesh/featureedges.h"

namespace nubo::scene {

namespace {

using Vector4 = std::array<double, 4>;

double determinant(const math::Matrix4& m) {
  return m(0, 0) * (m(1, 1) * m(2, 2) - m(1, 2) * m(2, 1)) - m(0, 1) * (m(1, 0) * m(2, 2) - m(1, 2) * m(2, 0)) +
         m(0, 2) * (m(1, 0) * m(2, 1) - m(1, 1) * m(2, 0));
}

// The point that an affine matrix maps to the origin.
math::Vector3 originSeenFrom(const math::Matrix4& m, double determinant) {
  math::Vector3 result{};
  for (int i = 0; i < 3; ++i) {
    const int a = (i + 1) % 3, b = (i + 2) % 3;
    for (int j = 0; j < 3; ++j) {
      const int c = (j + 1) % 3, e = (j + 2) % 3;
      result[i] -= (m(c, a) * m(e, b) - m(c, b) * m(e, a)) / determinant * m(j, 3);
    }
  }
  return result;
}

// Nothing becomes so thin that it breaks up.
float widthOf(const Geometry& geometry, const ViewQuery& query) {
  const double widest = geometry.kind == KindPoints ? query.widestPoint : query.widestLine;
  const double least = std::min(1.0, double(geometry.width));
  return float(std::min(std::max(geometry.width * query.widthScale, least), widest));
}

double widest(GLenum smooth, GLenum plain) {
  GLfloat ranges[2][2]{};
  glGetFloatv(smooth, ranges[0]);
  glGetFloatv(plain, ranges[1]);
  return double(std::max(1.0f, std::min(ranges[0][1], ranges[1][1])));
}

enum class Side { Outside, Across, Inside };

// Decides about boxes and clusters in the space of one geometry.
class Culler {
 public:
  Culler(const ViewQuery& query, const math::Matrix4& modelView, int margin) : m_Detail(query.detail) {
    const math::Matrix4 clip = extended(query.projection, query.width, query.height, margin) * modelView;
    for (int plane = 0; plane < 6; ++plane)
      for (int column = 0; column < 4; ++column)
        m_Planes[plane][column] = clip(3, column) + (plane % 2 ? -1 : 1) * clip(plane / 2, column);
    for (int column = 0; column < 4; ++column) m_W[column] = clip(3, column);
    m_PixelsPerUnit =
        0.5 * query.height * std::abs(query.projection(1, 1)) * std::cbrt(std::abs(determinant(modelView)));
  }

  template <class Box>
  Side side(const Box& box) const {
    Side result = Side::Inside;
    for (const Vector4& plane : m_Planes) {
      if (farthest(plane, box.max, box.min) < 0) return Side::Outside;
      if (farthest(plane, box.min, box.max) < 0) result = Side::Across;
    }
    return result;
  }

  template <class Box>
  bool isBeyondNearPlane(const Box& box) const {
    return farthest(m_Planes[4], box.min, box.max) > 0;
  }

  double detail() const { return m_Detail; }
  /// Whether a length anywhere in the box is less than that many pixels.
  template <class Box>
  bool isSmaller(double length, const Box& box, double pixels) const {
    const double distance = farthest(m_W, box.min, box.max);
    return distance > 0 && length * m_PixelsPerUnit < pixels * distance;
  }
  /// Whether all of the box lies within a pixel or so.
  template <class Box>
  bool isUnseen(const Box& box) const {
    return isSmaller(2 * radius(box), box, 1);
  }

  template <class Box>
  static double radius(const Box& box) {
    double sum = 0;
    for (int i = 0; i < 3; ++i) sum += std::pow(double(box.max[i]) - box.min[i], 2);
    return 0.5 * std::sqrt(sum);
  }

 private:
  // The plane's value at that corner of the box where it is largest, or with swapped corners, least.
  template <class Corner>
  static double farthest(const Vector4& plane, const Corner& high, const Corner& low) {
    double value = plane[3];
    for (int i = 0; i < 3; ++i) value += plane[i] * (plane[i] > 0 ? high[i] : low[i]);
    return value;
  }

  std::array<Vector4, 6> m_Planes;
  Vector4 m_W;
  double m_Detail;
  double m_PixelsPerUnit;
};

math::Vector3 centerOf(const Cluster& cluster) {
  math::Vector3 center;
  for (int i = 0; i < 3; ++i) center[i] = 0.5 * (double(cluster.min[i]) + cluster.max[i]);
  return center;
}

Range whole(const Cluster& cluster) { return {cluster.first, cluster.count, cluster.firstVertex, cluster.vertexCount}; }

// Coarse versions that lie off by more are not drawn, whatever the caller allows: they would show what is not there.
constexpr double MostError = 4;  // pixels

// Whether a group's coarse version may stand for it.
bool mayBeDrawn(const CoarseGroup& coarse, const Cluster& bounds, const Culler& culler) {
  return coarse.count > 0 && culler.isSmaller(double(coarse.error), bounds, std::min(culler.detail(), MostError));
}

// Whether no face of the cluster looks towards the eye, for which both are seen from one space. All
// directions from the eye to the cluster lie within asin(radius / distance) of that to its centre.
bool facesAway(const Cluster& cluster, const math::Vector3& eye) {
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

}  // namespace

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

void DrawList::clear() {
  m_Opaque.clear();
  m_Transparent.clear();
  m_Unsorted.clear();
  m_Sortables.clear();
  m_Ranges.clear();
  m_Margin = 0;
}

void DrawList::collect(const SceneElement& root, const math::Matrix4& transform, const ViewQuery& query) {
  collect(root, transform, LayerModel, query);
}

void DrawList::collect(const SceneElement& element, const math::Matrix4& parent, Layer inherited,
                       const ViewQuery& query) {
  if (!element.isVisible()) return;
  const Layer layer = element.getLayer() == LayerModel ? inherited : element.getLayer();
  const math::Matrix4 modelView = parent * element.getTransform();
  ViewQuery own = query;
  if (layer != LayerModel) own.detail = 0;  // markers are small, and meant to be seen
  for (const auto& geometry : element.getGeometries()) {
    const int layers = layer == LayerModel && geometry->transparent ? LayerTransparent : layer;
    if (!(query.layers & layers) || !(query.kinds & geometry->kind)) continue;
    add(*geometry, modelView, own);
    if (!query.edges || layer != LayerModel) continue;
    if (const auto edges = featureEdges(*geometry)) add(*edges, modelView, own);
    const bool isSeen = query.outlines && Culler(query, modelView, 0).side(geometry->box) != Side::Outside;
    if (const Geometry* outline = isSeen ? query.outlines->of(*geometry, modelView) : nullptr)
      add(*outline, modelView, own);
  }
  for (const auto& child : element.getChildren()) collect(*child, modelView, layer, query);
}

void DrawList::add(const Geometry& geometry, const math::Matrix4& modelView, const ViewQuery& query) {
  const float width = widthOf(geometry, query);
  const float coarseWidth = std::max(width, float(MostError));  // of points, which lie so far apart
  const int margin = geometry.kind == KindFaces ? 0 : marginFor(query.detail > 0 ? coarseWidth : width);
  const Culler culler(query, modelView, margin);
  if (geometry.clusters.empty() || culler.side(geometry.box) == Side::Outside) return;
  if (query.detail > 0 && culler.isUnseen(geometry.box)) return;

  Batch batch;
  batch.geometry = &geometry;
  batch.buffer = BufferCache::buffer(geometry);
  batch.modelView = modelView;
  batch.width = width;
  const double volume = determinant(modelView);
  batch.mirrored = volume < 0;
  // The near plane may open a closed surface and show its inside.
  batch.cullBack = geometry.closed && !geometry.transparent && culler.isBeyondNearPlane(geometry.box);
  batch.firstRange = m_Ranges.size();
  const bool perspective = query.projection(3, 2) != 0 && query.projection(3, 3) == 0;
  const bool useCones = batch.cullBack && perspective && volume != 0;
  const math::Vector3 eye = useCones ? originSeenFrom(modelView, volume) : math::Vector3{};

  const std::size_t sortable = m_Sortables.size();
  const auto addPart = [&](const Range& range, const Cluster& bounds) {
    if (geometry.transparent)
      m_Sortables.push_back({math::transformPoint(modelView, centerOf(bounds))[2], m_Unsorted.size(), range});
    else
      addRange(batch.firstRange, range);
  };
  const auto coarse = query.detail > 0 ? coarseVersion(geometry) : nullptr;
  if (coarse) batch.coarse = BufferCache::buffer(*coarse);
  const auto& groups = batch.buffer->groups();
  for (std::size_t group = 0; group < groups.size(); ++group) {
    const Side side = culler.side(groups[group]);
    if (side == Side::Outside) continue;
    if (coarse && mayBeDrawn(coarse->groups[group], groups[group], culler)) {
      addPart({coarse->groups[group].first, coarse->groups[group].count, 0, 0}, groups[group]);
      if (geometry.kind == KindPoints) batch.width = coarseWidth;
      continue;
    }
    const std::size_t end = std::min((group + 1) * ClustersPerGroup, geometry.clusters.size());
    for (std::size_t i = group * ClustersPerGroup; i < end; ++i) {
      const Cluster& cluster = geometry.clusters[i];
      if (side == Side::Across && culler.side(cluster) == Side::Outside) continue;
      if (!useCones || !facesAway(cluster, eye)) addPart(whole(cluster), cluster);
    }
  }

  batch.rangeCount = m_Ranges.size() - batch.firstRange;
  if (batch.rangeCount == 0 && m_Sortables.size() == sortable) return;
  m_Margin = std::max(m_Margin, margin);
  (geometry.transparent ? m_Unsorted : m_Opaque).push_back(std::move(batch));
}

// Adds to the batch whose ranges begin at `firstRange`; coarse ones that follow each other become one.
// Long ranges are not worth joining, and stand in the way of drawing in parts.
void DrawList::addRange(std::size_t firstRange, const Range& range) {
  constexpr std::uint32_t Long = 3 << 12;
  Range* last = m_Ranges.size() > firstRange ? &m_Ranges.back() : nullptr;
  const bool areCoarse = last && last->vertexCount == 0 && range.vertexCount == 0;
  if (areCoarse && last->first + last->count == range.first && last->count < Long)
    last->count += range.count;
  else
    m_Ranges.push_back(range);
}

void DrawList::sortTransparent() {
  std::stable_sort(m_Sortables.begin(), m_Sortables.end(),
                   [](const Sortable& a, const Sortable& b) { return a.depth < b.depth; });
  std::size_t last = m_Unsorted.size();
  for (const Sortable& cluster : m_Sortables) {
    if (cluster.batch != last) {
      m_Transparent.push_back(m_Unsorted[cluster.batch]);
      m_Transparent.back().firstRange = m_Ranges.size();
      m_Transparent.back().rangeCount = 0;
      last = cluster.batch;
    }
    Batch& batch = m_Transparent.back();
    addRange(batch.firstRange, cluster.range);
    batch.rangeCount = m_Ranges.size() - batch.firstRange;
  }
}

}  // namespace nubo::scene
