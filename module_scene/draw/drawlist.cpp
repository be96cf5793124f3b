#include "module_scene/draw/drawlist.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <optional>
#include <utility>

#include "module_scene/draw/culler.h"
#include "module_scene/draw/facing.h"
#include "module_scene/draw/gapfilling.h"
#include "module_scene/draw/joinedparts.h"
#include "module_scene/draw/outlines.h"
#include "module_scene/mesh/coarsening.h"
#include "module_scene/mesh/featureedges.h"
#include "module_scene/mesh/sides.h"

namespace nubo::scene {

namespace {

// Coarse versions that lie off by more are not drawn, whatever the caller allows: they would show what is not there.
constexpr double MostError = 4;  // pixels

// Nothing becomes so thin that it breaks up.
float drawnWidth(Kind kind, float width, const ViewQuery& query) {
  const double widest = kind == KindPoints ? query.widestPoint : query.widestLine;
  const double least = std::min(1.0, double(width));
  return float(std::min(std::max(width * query.widthScale, least), widest));
}

// Pixels around a view from which points or lines may reach into it.
int widestMargin(const SceneParts& parts, const ViewQuery& query) {
  int margin = 0;
  for (const Kind kind : {KindPoints, KindLines}) {
    const float width = std::max(parts.widest(kind), kind == KindLines && query.edges ? EdgeWidth : 0);
    const float filling = kind == KindPoints ? GapFilling::widest(query) : 0;
    if (width > 0)
      margin = std::max(margin, marginFor(std::max({drawnWidth(kind, width, query), float(MostError), filling})));
  }
  return margin;
}

Range whole(const Cluster& cluster) { return {cluster.first, cluster.count, cluster.firstVertex, cluster.vertexCount}; }

// Whether no edge of a face is so long in the view that light changes between its ends. Tiles must agree, whatever they
// show.
bool isFine(const Geometry& geometry, const GeometryBuffer& buffer, const Culler& culler) {
  constexpr double MostPixels = 8;
  return std::all_of(buffer.groups().begin(), buffer.groups().end(), [&](const Cluster& group) {
    return culler.isSmaller(double(geometry.longestEdge), group, MostPixels);
  });
}

// How many of a cluster's points leave no gaps where they lie on a surface and are MostError wide: every 2^n-th of
// them, so that they are spread evenly.
std::uint32_t countOfPoints(const Cluster& cluster, const Culler& culler) {
  const double across = culler.pixelsOf(2 * Culler::radius(cluster), cluster) / MostError;
  const double needed = UnevenPoints * across * across;
  std::uint32_t count = cluster.count;
  for (std::uint32_t half = (count + 1) / 2; half < count && needed <= double(half); half = (count + 1) / 2)
    count = half;
  return count;
}

// Whether what lies off by that, anywhere in the box, may stand for what is there.
template <class Box>
bool mayBeDrawn(double error, const Box& bounds, const Culler& culler) {
  return culler.isSmaller(error, bounds, std::min(culler.detail(), MostError));
}

}  // namespace

void DrawList::clear() {
  m_Opaque.clear();
  m_Transparent.clear();
  m_Unsorted.clear();
  m_Sortables.clear();
  m_Ranges.clear();
  m_Chosen.clear();
  m_Margin = 0;
  m_Cut.reset();
}

void DrawList::collect(const SceneParts& parts, const math::Matrix4& transform, const ViewQuery& query) {
  if (DrawCommands::areAvailable()) copySmall(parts, query);
  m_Met.clear();
  m_Joined.assign(parts.all().size(), false);
  if (parts.section()) m_Cut = parts.section()->plane().before(math::affineInverse(transform));
  if (query.joined && (query.layers & LayerModel) && (query.kinds & KindFaces))
    addJoined(*query.joined, transform, query);
  const Culler culler(query, transform, widestMargin(parts, query));
  parts.tree().visit([&](const BoundingBox& box) { return culler.overlap(box); },
                     [&](std::uint32_t part, Overlap overlap) {
                       if (!m_Joined[part]) m_Met.emplace_back(part, overlap);
                     });
  std::sort(m_Met.begin(), m_Met.end());
  if (query.edges) findLines(parts, m_Met, transform, query);
  for (const auto& [part, overlap] : m_Met) {
    m_Part = part;
    add(parts.all()[part], transform, overlap, query);
  }
  if (query.edges) addEdges(parts, transform, query);
}

// What is drawn together has to lie together, however little of it this view shows.
void DrawList::copySmall(const SceneParts& parts, const ViewQuery& query) {
  if (std::exchange(m_Arrangement, parts.arrangement()) == parts.arrangement()) return;
  std::vector<const Geometry*> small = parts.geometries();
  small.erase(std::remove_if(small.begin(), small.end(),
                             [&](const Geometry* geometry) {
                               return !(query.kinds & geometry->kind) || !VertexStore::isShared(*geometry);
                             }),
              small.end());
  BufferCache::fill(small);
}

// All edges, and then all outlines, since lines of many parts look alike.
void DrawList::addEdges(const SceneParts& parts, const math::Matrix4& transform, const ViewQuery& query) {
  std::vector<std::pair<std::uint32_t, util::YPointer<const Geometry>>> lines;
  std::vector<const Geometry*> copied;
  const auto want = [&](std::uint32_t part, util::YPointer<const Geometry> geometry) {
    if (!geometry) return;
    copied.push_back(geometry.get());
    lines.emplace_back(part, std::move(geometry));
  };
  for (const bool outlines : {false, true})
    for (const auto& [number, overlap] : m_Met) {
      const ScenePart& part = parts.all()[number];
      if (!isDrawn(part, query) || part.layer != LayerModel) continue;
      const math::Matrix4 modelView = transform * part.place;
      if (!outlines)
        want(number, featureEdges(*part.geometry));
      else if (query.outlines && !part.closes &&
               Culler(queryFor(part, query), modelView, 0).overlap(part.geometry->box) != Overlap::None)
        want(number, query.outlines->of(*part.geometry, modelView));
    }
  BufferCache::fill(copied);
  m_AddsEdges = true;
  for (const auto& [number, geometry] : lines) {
    const ScenePart& part = parts.all()[number];
    m_Part = number;
    add(*geometry, transform * part.place, Overlap::Part, queryFor(part, query));
  }
  m_AddsEdges = false;
}

bool DrawList::isDrawn(const ScenePart& part, const ViewQuery& query) {
  const int layers = part.layer == LayerModel && part.geometry->transparent ? LayerTransparent : part.layer;
  return (query.layers & layers) && (query.kinds & part.geometry->kind);
}

ViewQuery DrawList::queryFor(const ScenePart& part, const ViewQuery& query) const {
  ViewQuery own = query;
  if (part.layer != LayerModel) own.detail = 0;  // markers are small, and meant to be seen
  if (part.layer == LayerModel && !part.closes) own.cut = m_Cut;
  return own;
}

void DrawList::addJoined(const JoinedParts& joined, const math::Matrix4& transform, const ViewQuery& query) {
  ViewQuery own = query;
  own.cut = m_Cut;
  for (const JoinedParts::Group& group : joined.groups()) {
    if (group.levels.empty()) continue;
    const math::Matrix4 modelView = transform * group.place;
    const Culler culler(own, modelView, 0);
    for (const JoinedParts::Level& level : group.levels) {
      const BoundingBox& box = level.geometry->box;
      const Overlap overlap = culler.overlap(box);
      if (overlap == Overlap::None || !mayBeDrawn(level.error, box, culler)) continue;
      add(*level.geometry, modelView, overlap, own);
      for (const JoinedParts::Member& member : group.members) m_Joined[member.part] = true;
      break;
    }
  }
}

void DrawList::add(const ScenePart& part, const math::Matrix4& transform, Overlap overlap, const ViewQuery& query) {
  if (isDrawn(part, query)) add(*part.geometry, transform * part.place, overlap, queryFor(part, query));
}

void DrawList::add(const Geometry& geometry, const math::Matrix4& modelView, Overlap overlap, const ViewQuery& query) {
  const float width = drawnWidth(geometry.kind, geometry.width, query);
  const float coarseWidth = std::max(width, float(MostError));  // of points, which lie so far apart
  const int margin = geometry.kind == KindFaces ? 0 : marginFor(query.detail > 0 ? coarseWidth : width);
  std::optional<GapFilling> gaps;
  if (GapFilling::isFor(geometry)) gaps.emplace(geometry, modelView, width, query);
  const Culler culler(query, modelView, gaps ? std::max(margin, marginFor(GapFilling::widest(query))) : margin);
  if (overlap == Overlap::Part || query.cut) overlap = culler.overlap(geometry.box);
  if (geometry.clusters.empty() || overlap == Overlap::None) return;
  if (query.detail > 0 && culler.isUnseen(geometry.box)) return;

  Batch batch;
  batch.geometry = &geometry;
  batch.part = m_Part;
  batch.edges = m_AddsEdges;
  if (!query.plotted) batch.buffer = BufferCache::buffer(geometry);
  batch.modelView = modelView;
  batch.width = width;
  const double volume = determinant(modelView);
  batch.mirrored = volume < 0;
  batch.clipped = culler.isCut(geometry.box);
  // The near plane may open a closed surface and show its inside. What the section opens is closed again.
  batch.cullBack = geometry.closed && !geometry.transparent && culler.isBeyondNearPlane(geometry.box);
  batch.firstRange = m_Ranges.size();
  const bool perspective = query.projection(3, 2) != 0 && query.projection(3, 3) == 0;
  const bool useCones = batch.cullBack && perspective && volume != 0;
  const math::Vector3 eye = useCones ? originSeenFrom(modelView) : math::Vector3{};

  const std::size_t sortable = m_Sortables.size();
  const auto addPart = [&](const Range& range, const Cluster& bounds) {
    if (geometry.transparent)
      m_Sortables.push_back({math::transformPoint(modelView, centerOf(bounds))[2], m_Unsorted.size(), range});
    else
      addRange(batch.firstRange, range);
  };
  if (query.plotted) {
    addClusters(geometry, overlap, culler, gaps ? &*gaps : nullptr);
    batch.rangeCount = m_Ranges.size() - batch.firstRange;
    if (batch.rangeCount == 0) return;
    m_Margin = std::max(m_Margin, margin);
    m_Opaque.push_back(std::move(batch));
    return;
  }
  const auto coarse = query.detail > 0 ? coarseVersion(geometry) : nullptr;
  batch.fine = !coarse && geometry.kind == KindFaces && isFine(geometry, *batch.buffer, culler);
  batch.coarse = coarse;
  // The first points of a cluster are spread over it.
  const bool mayBeThinned = query.detail > 0 && geometry.kind == KindPoints && geometry.identities.empty();
  bool isThinned = false, isWidened = false;
  const auto& groups = batch.buffer->groups();
  const std::size_t perGroup = geometry.clustersPerGroup();
  for (std::size_t group = 0; group < groups.size(); ++group) {
    const Overlap groupOverlap = overlap == Overlap::Whole ? overlap : culler.overlap(groups[group]);
    if (groupOverlap == Overlap::None) continue;
    if (coarse && coarse->groups[group].count > 0 &&
        mayBeDrawn(double(coarse->groups[group].error), groups[group], culler)) {
      addPart({coarse->groups[group].first, coarse->groups[group].count, 0, 0}, groups[group]);
      continue;
    }
    const std::size_t end = std::min((group + 1) * perGroup, geometry.clusters.size());
    for (std::size_t i = group * perGroup; i < end; ++i) {
      const Cluster& cluster = geometry.clusters[i];
      if (groupOverlap == Overlap::Part && culler.overlap(cluster) == Overlap::None) continue;
      if (useCones && facesAway(cluster, eye)) continue;
      Range range = whole(cluster);
      if (gaps && !closeGaps(*gaps, cluster, culler, range)) continue;
      isWidened = isWidened || range.width > 0;
      if (mayBeThinned) range.count = countOfPoints(cluster, culler);
      isThinned = isThinned || range.count < cluster.count;
      addPart(range, cluster);
    }
  }
  if (query.even) evenOut(m_Ranges.begin() + std::ptrdiff_t(batch.firstRange), m_Ranges.end());
  if (isThinned) batch.width = coarseWidth;
  if (isThinned && !geometry.transparent) choose(batch);

  // Points before the cut hide none.
  const bool isSieved = query.sieved && !batch.clipped && query.detail == 0 && !isWidened;
  if (isSieved && geometry.kind == KindPoints && !geometry.transparent) sieve(batch, query);
  batch.rangeCount = m_Ranges.size() - batch.firstRange;
  if (batch.rangeCount == 0 && m_Sortables.size() == sortable) return;
  m_Margin = std::max(m_Margin, margin);
  (geometry.transparent ? m_Unsorted : m_Opaque).push_back(std::move(batch));
}

void DrawList::addClusters(const Geometry& geometry, Overlap overlap, const Culler& culler, const GapFilling* gaps) {
  for (const Cluster& cluster : geometry.clusters) {
    if (overlap != Overlap::Whole && culler.overlap(cluster) == Overlap::None) continue;
    Range range = whole(cluster);
    if (!gaps || closeGaps(*gaps, cluster, culler, range)) m_Ranges.push_back(range);
  }
}

// Has a cluster's points be as wide as they need to be; false where they do not reach into the view.
bool DrawList::closeGaps(const GapFilling& gaps, const Cluster& cluster, const Culler& culler, Range& range) {
  range.width = gaps.widthOf(cluster, culler);
  if (range.width == 0) return gaps.isUsuallySeen(cluster);
  m_Margin = std::max(m_Margin, marginFor(range.width));
  return true;
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

// Has the batch, of opaque points, draw those only that may show. Where there are few, or more pixels than points, that
// would take longer than to draw all.
void DrawList::sieve(Batch& batch, const ViewQuery& query) {
  constexpr std::size_t Few = 20000, MostPixels = std::size_t(1) << 22;
  const auto begin = m_Ranges.begin() + std::ptrdiff_t(batch.firstRange);
  const std::size_t points = std::accumulate(begin, m_Ranges.end(), std::size_t(0),
                                             [](std::size_t sum, const Range& range) { return sum + range.count; });
  if (points < Few || std::size_t(query.width) * std::size_t(query.height) > MostPixels) return;
  // OpenGL rounds the size of what it does not smooth.
  const bool isSampled = query.samples > 0;
  const double size = isSampled ? double(batch.width) : std::max(1.0, std::ceil(double(batch.width) - 0.5));
  m_Sieve.begin(query.projection * batch.modelView, query.width, query.height, marginFor(batch.width), size, isSampled);
  for (auto range = begin; range != m_Ranges.end(); ++range)
    m_Sieve.add(batch.geometry->positions, range->firstVertex, range->vertexCount);
  const std::size_t first = m_Chosen.size();
  m_Sieve.sift(m_Chosen);
  drawChosen(batch, first);
}

// Has the batch, of points, draw its ranges by the numbers of their vertices: they are too small to be worth a call
// each.
void DrawList::choose(Batch& batch) {
  const std::size_t first = m_Chosen.size();
  const std::vector<std::uint32_t>& indices = batch.geometry->indices;
  for (auto range = m_Ranges.begin() + std::ptrdiff_t(batch.firstRange); range != m_Ranges.end(); ++range)
    m_Chosen.insert(m_Chosen.end(), &indices[range->first], &indices[range->first] + range->count);
  drawChosen(batch, first);
}

// Has the batch draw the vertices that were chosen, from the one at `first`, in the place of its ranges.
void DrawList::drawChosen(Batch& batch, std::size_t first) {
  constexpr std::size_t Together = 3 << 12;
  m_Ranges.resize(batch.firstRange);
  batch.chosen = true;
  for (; first < m_Chosen.size(); first += Together)
    m_Ranges.push_back({std::uint32_t(first), std::uint32_t(std::min(Together, m_Chosen.size() - first)), 0, 0});
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
