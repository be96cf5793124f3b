#include "module_scene/draw/depthplotter.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <iterator>
#include <limits>
#include <utility>

#include "module_scene/draw/projector.h"
#include "module_scene/mesh/parallel.h"

namespace nubo::scene {

namespace {

/// Into which a pixel is divided, as most OpenGLs do it.
constexpr int Steps = 256;
constexpr std::uint32_t Nothing = std::numeric_limits<std::uint32_t>::max();
/// Pixels from the middle within which steps can be counted and multiplied.
constexpr float Farthest = 1 << 20;
enum Out : std::uint32_t { Left = 1, Right = 2, Below = 4, Above = 8, Before = 16, Beyond = 32, FarOut = 64 };

std::uint32_t sidesOf(const std::array<float, 4>& clip) {
  const auto [x, y, z, w] = clip;
  return (x < -w ? Left : 0u) | (x > w ? Right : 0u) | (y < -w ? Below : 0u) | (y > w ? Above : 0u) |
         (z < -w || !(w > 0) ? Before : 0u) | (z > w ? Beyond : 0u);
}

bool isMask(const Batch& batch) {
  return batch.geometry->material && batch.geometry->material->alphaMode == AlphaMode::Mask;
}

bool isWhole(const Batch& batch) { return batch.geometry->kind == KindFaces && !batch.clipped && !batch.coarse; }

/// On which side of the line from a to b it lies, times its distance and the line's length: positive on the left.
template <class A, class B>
std::int64_t side(const A& a, const B& b, std::int64_t x, std::int64_t y) {
  return (std::int64_t(b.x) - a.x) * (y - a.y) - (std::int64_t(b.y) - a.y) * (x - a.x);
}

/// Of 24 bits, as OpenGL rounds it, in those of a whole number that stand for the same share of it.
std::uint32_t kept(double depth) {
  const auto bits = std::uint32_t(std::lrint(std::clamp(depth, 0.0, 1.0) * ((1 << 24) - 1)));
  return bits << 8 | bits >> 16;
}

/// The pixels whose middle lies between two places, in steps, and in the view.
std::pair<int, int> pixelsBetween(std::int32_t low, std::int32_t high, int size) {
  return {std::max(0, (low + Steps / 2 - 1) >> 8), std::min(size - 1, (high - Steps / 2) >> 8)};
}

}  // namespace

bool DepthPlotter::canPlot(const DrawList& list, int width, int height) {
  constexpr std::size_t PixelsPerFace = 4;
  std::size_t indices = 0;
  for (const Batch& batch : list.opaque()) {
    if (!isWhole(batch) || isMask(batch)) return false;
    for (std::size_t range = 0; range < batch.rangeCount; ++range)
      indices += list.ranges()[batch.firstRange + range].count;
  }
  return indices / 3 * PixelsPerFace >= std::size_t(width) * std::size_t(height) &&
         std::none_of(list.transparent().begin(), list.transparent().end(), isMask);
}

bool DepthPlotter::plot(const DrawList& list, const math::Matrix4& projection, int width, int height) {
  m_Width = width;
  m_Height = height;
  m_Jobs.clear();
  for (const Batch& batch : list.opaque())
    for (std::size_t i = 0; i < batch.rangeCount; ++i) {
      const Range& range = list.ranges()[batch.firstRange + i];
      const std::vector<Cluster>& clusters = batch.geometry->clusters;
      auto cluster = std::lower_bound(clusters.begin(), clusters.end(), range.first,
                                      [](const Cluster& c, std::uint32_t first) { return c.first < first; });
      for (; cluster != clusters.end() && cluster->first < range.first + range.count; ++cluster)
        m_Jobs.push_back({&batch, &*cluster});
    }
  constexpr std::size_t JobsAtOnce = 8;
  m_Layers.resize(std::clamp<std::size_t>(m_Jobs.size() / JobsAtOnce, 1, coreCount()));
  std::atomic<std::size_t> next{0};
  std::atomic<bool> isPlotted{true};
  runOnCores(m_Layers.size(), [&](std::size_t layer) {
    m_Layers[layer].depths.assign(std::size_t(width) * std::size_t(height), Nothing);
    for (std::size_t job; isPlotted && (job = next.fetch_add(JobsAtOnce)) < m_Jobs.size();)
      for (const std::size_t end = std::min(job + JobsAtOnce, m_Jobs.size()); job < end; ++job)
        if (!draw(m_Layers[layer], m_Jobs[job], projection)) isPlotted = false;
  });
  if (isPlotted) merge();
  return isPlotted;
}

/// False where a face has a corner that cannot be placed.
bool DepthPlotter::draw(Layer& layer, const Job& job, const math::Matrix4& projection) const {
  const Batch& batch = *job.batch;
  const Cluster& cluster = *job.cluster;
  const Geometry& geometry = *batch.geometry;
  const Projector projector(projection, batch.modelView, m_Width, m_Height);
  layer.corners.resize(cluster.vertexCount);
  const float* position = &geometry.positions[std::size_t(cluster.firstVertex) * 3];
  for (Corner& corner : layer.corners) {
    const std::array<float, 4> clip = projector.clip(position);
    position += 3;
    corner = {0, 0, 0, sidesOf(clip)};
    if (corner.out & Before) continue;
    const auto [x, y, depth] = projector.place(clip);
    if (std::abs(x) < Farthest && std::abs(y) < Farthest)
      corner = {std::int32_t(std::lrint(x * Steps)), std::int32_t(std::lrint(y * Steps)), depth, corner.out};
    else
      corner.out |= FarOut;
  }
  const bool culled = batch.cullBack || batch.isOneSided();
  const std::uint32_t* index = &geometry.indices[cluster.first];
  for (const std::uint32_t* const end = index + cluster.count; index != end; index += 3) {
    const Corner* const a = &layer.corners[index[0] - cluster.firstVertex];
    const Corner* b = &layer.corners[index[1] - cluster.firstVertex];
    const Corner* c = &layer.corners[index[2] - cluster.firstVertex];
    if (a->out & b->out & c->out & ~FarOut) continue;
    if ((a->out | b->out | c->out) & (Before | FarOut)) return false;
    if (batch.mirrored) std::swap(b, c);
    draw(layer, {a, b, c}, !culled);
  }
  return true;
}

/// The front has its corners counter-clockwise.
void DepthPlotter::draw(Layer& layer, std::array<const Corner*, 3> corners, bool seenFromBehind) const {
  std::int64_t area = side(*corners[0], *corners[1], corners[2]->x, corners[2]->y);
  if (area == 0 || (area < 0 && !seenFromBehind)) return;
  if (area < 0) {
    std::swap(corners[1], corners[2]);
    area = -area;
  }
  const auto [a, b, c] = corners;
  const auto [left, right] = pixelsBetween(std::min({a->x, b->x, c->x}), std::max({a->x, b->x, c->x}), m_Width);
  const auto [low, high] = pixelsBetween(std::min({a->y, b->y, c->y}), std::max({a->y, b->y, c->y}), m_Height);
  const float perArea = 1 / float(area);
  for (int row = low; row <= high; ++row) {
    std::uint32_t* const depths = &layer.depths[std::size_t(row) * std::size_t(m_Width)];
    const std::int64_t y = std::int64_t(row) * Steps + Steps / 2;
    for (int column = left; column <= right; ++column) {
      const std::int64_t x = std::int64_t(column) * Steps + Steps / 2;
      const std::int64_t ofA = side(*b, *c, x, y), ofB = side(*c, *a, x, y), ofC = side(*a, *b, x, y);
      if (ofA < 0 || ofB < 0 || ofC < 0) continue;
      const float more = (float(ofB) * (b->depth - a->depth) + float(ofC) * (c->depth - a->depth)) * perArea;
      depths[column] = std::min(depths[column], kept(double(a->depth) + double(more)));
    }
  }
}

/// Into the first of all.
void DepthPlotter::merge() {
  parallelRanges(m_Layers.front().depths.size(), [this](std::size_t begin, std::size_t end, std::size_t) {
    std::uint32_t* const nearest = m_Layers.front().depths.data();
    for (std::size_t layer = 1; layer < m_Layers.size(); ++layer) {
      const std::uint32_t* const depths = m_Layers[layer].depths.data();
      for (std::size_t i = begin; i < end; ++i) nearest[i] = std::min(nearest[i], depths[i]);
    }
  });
}

QRect DepthPlotter::covered() const {
  int left = m_Width, right = -1, low = m_Height, high = -1;
  for (int row = 0; row < m_Height; ++row) {
    const auto begin = depths().begin() + std::ptrdiff_t(row) * m_Width, end = begin + m_Width;
    const auto isSeen = [](std::uint32_t depth) { return depth != Nothing; };
    const auto first = std::find_if(begin, end, isSeen);
    if (first == end) continue;
    const auto last = std::find_if(std::make_reverse_iterator(end), std::make_reverse_iterator(first), isSeen);
    left = std::min(left, int(first - begin));
    right = std::max(right, int(last.base() - begin) - 1);
    low = std::min(low, row);
    high = row;
  }
  return {QPoint(left, low), QPoint(right, high)};
}

}  // namespace nubo::scene
