#include "module_scene/draw/pointplotter.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstring>
#include <numeric>
#include <tuple>

#include "module_scene/draw/projector.h"
#include "module_scene/draw/smoothbuffer.h"
#include "module_scene/mesh/parallel.h"

namespace nubo::scene {

namespace {

/// Of depths, as they are kept.
constexpr std::int32_t Farthest = (1 << 24) - 1;

/// Keys begin with the depth, behind a bit that they all have; of what is as far away as other points the last in order
/// is seen, so that the rest says how many might follow.
using Key = SquarePlane::Key;
constexpr int OrderBits = 37;
constexpr Key Least = Key(1) << 61, LastInOrder = (Key(1) << OrderBits) - 1;
/// A point's place in order is its stroke's, counted from 1, and behind that its own in the stroke.
constexpr int PointBits = 12;
constexpr std::uint32_t MostOfStroke = 1u << PointBits;

/// At most that of any point that lies there or behind.
Key leastKey(std::int32_t depth) { return Least | Key(depth) << OrderBits; }
Key keyOf(std::int32_t depth, Key stroke, Key point) {
  return leastKey(depth) | (LastInOrder - ((stroke + 1) << PointBits | point));
}
Key orderOf(Key key) { return LastInOrder - (key & LastInOrder); }

/// Steps. OpenGL rounds the size of what it does not smooth.
std::int32_t sizeOf(const Batch& batch, const Range& range, bool sampled) {
  const float width = range.width > 0 ? range.width : batch.width;
  const float pixels = sampled ? width : std::ceil(width - 0.5f);
  return std::int32_t(std::lrint(std::max(1.0f, pixels) * PointPlotter::Steps));
}

/// The first pixel whose sample does not lie before a place, in steps from the first pixel's.
int pixelAt(int steps) { return (steps + PointPlotter::Steps - 1) >> 8; }

/// Of at most 2^14 pixels, rounded as lrint() does it, which processors do not for several numbers at once: beside one
/// so large, a number has no place for its fraction.
std::int32_t stepsOf(float pixels) {
  constexpr float Large = 3 << 22;
  const float sum = pixels * PointPlotter::Steps + Large;
  std::int32_t bits;
  std::memcpy(&bits, &sum, sizeof bits);
  constexpr std::int32_t BitsOfLarge = 0x4B400000;
  return bits - BitsOfLarge;
}

std::int32_t keptDepth(float depth) { return std::int32_t(depth * float(Farthest)); }

std::array<std::uint8_t, 4> colorOf(const Geometry& geometry) {
  std::array<std::uint8_t, 4> bytes{255, 255, 255, 255};
  if (geometry.material)
    for (std::size_t i = 0; i < 3; ++i)
      bytes[i] = std::uint8_t(std::lround(255 * std::clamp(geometry.material->diffuse[i], 0.0f, 1.0f)));
  return bytes;
}

const Cluster& clusterOf(const Geometry& geometry, const Range& range) {
  return *std::lower_bound(geometry.clusters.begin(), geometry.clusters.end(), range.first,
                           [](const Cluster& cluster, std::uint32_t first) { return cluster.first < first; });
}

/// Rounded as OpenGL does it.
std::uint32_t meanOf(const std::vector<std::uint32_t>& colors) {
  if (std::all_of(colors.begin(), colors.end(), [&](std::uint32_t color) { return color == colors[0]; }))
    return colors[0];
  std::uint32_t mean = 0;
  for (int shift = 0; shift < 32; shift += 8) {
    float sum = 0;
    for (const std::uint32_t color : colors) sum += float(color >> shift & 255) * (1 / 255.0f);
    mean |= std::uint32_t(std::lrint(sum * (1 / float(colors.size())) * 255)) << shift;
  }
  return mean;
}

/// Some points of a stroke, in loops that have the processor compute several at once, as far as that can be.
struct Spots {
  static constexpr std::uint32_t Most = 256;
  std::uint32_t count = 0;
  std::array<std::int32_t, Most> across, up;  ///< steps
  std::array<std::int32_t, Most> depth;       ///< as it is kept; negative: the point is not seen

  void find(const Projector& projector, const float* positions, std::uint32_t points) {
    std::array<float, Most> x, y, z;
    for (std::uint32_t i = 0; i < points; ++i) {
      x[i] = positions[std::size_t(i) * 3];
      y[i] = positions[std::size_t(i) * 3 + 1];
      z[i] = positions[std::size_t(i) * 3 + 2];
    }
    for (std::uint32_t i = 0; i < points; ++i) {
      const auto clip = projector.clip(x[i], y[i], z[i]);
      const auto place = projector.place(clip);
      const float w = clip[3];
      const bool isSeen = (w > 0) & (std::abs(clip[0]) <= w) & (std::abs(clip[1]) <= w) & (std::abs(clip[2]) <= w);
      across[i] = stepsOf(isSeen ? place[0] : 0);
      up[i] = stepsOf(isSeen ? place[1] : 0);
      depth[i] = keptDepth(isSeen ? place[2] : -1);
    }
    count = points;
  }

  /// As squares of that size, in steps. They cover as many whole pixels as it has, and one more on an axis where what
  /// is left of it reaches the next one's sample: so they are two squares there that begin one after the other.
  /// `number`: the stroke's, of which these are the points from `first` on.
  void put(SquarePlane& plane, const PointPlotter::Sample& sample, std::int32_t size, Key number, Key first) const {
    constexpr std::int32_t Wide = 1, High = 2;
    const std::int32_t half = size / 2, rest = size % PointPlotter::Steps;
    std::array<std::int32_t, Most> begin, more;
    for (std::uint32_t i = 0; i < count; ++i) {
      const std::int32_t left = across[i] - half - sample[0], low = up[i] - half - sample[1];
      const std::int32_t x = pixelAt(left), y = pixelAt(low);
      begin[i] = plane.place(x, y);
      more[i] = (x * PointPlotter::Steps - left < rest ? Wide : 0) | (y * PointPlotter::Steps - low < rest ? High : 0);
    }
    for (std::uint32_t i = 0; i < count; ++i) {
      if (depth[i] < 0) continue;
      const Key key = keyOf(depth[i], number, first + i);
      plane.put(begin[i], key);
      if (more[i] & Wide) plane.put(begin[i] + 1, key);
      if (more[i] & High) plane.put(begin[i] + plane.columns(), key);
      if (more[i] == (Wide | High)) plane.put(begin[i] + plane.columns() + 1, key);
    }
  }
};

}  // namespace

/// What the points of a batch are drawn with.
struct PointPlotter::Brush {
  const Geometry* geometry;
  Projector projector;
  std::array<std::uint8_t, 4> color;  ///< of all, if they have none of their own
};

/// Vertices that follow each other.
struct PointPlotter::Stroke {
  const Brush* brush;
  const Range* range;
  std::uint32_t firstVertex, count;
  std::int32_t size;             ///< steps
  SquarePlane::Key nearest = 0;  ///< at most the key of any of its points
  PixelBounds begun{};           ///< steps, between which all of its squares begin

  int pixels() const { return size / Steps; }
  void place(int width, int height);
};

void PointPlotter::Stroke::place(int width, int height) {
  const Cluster& cluster = clusterOf(*brush->geometry, *range);
  const auto bounds = brush->projector.bounds(cluster.min, cluster.max);
  if (!bounds) return;  // so that nothing is before it
  const auto beginOf = [this](float middle, int end) {
    return stepsOf(std::clamp(middle, -1.0f, float(end + 1))) - size / 2;
  };
  begun = {beginOf(bounds->low[0], width), beginOf(bounds->high[0], width), beginOf(bounds->low[1], height),
           beginOf(bounds->high[1], height)};
  nearest = leastKey(keptDepth(std::clamp(bounds->low[2], 0.0f, 1.0f)));
}

PointPlotter::PointPlotter() = default;
PointPlotter::~PointPlotter() = default;

const std::vector<PointPlotter::Sample>& PointPlotter::placesOf(int samples) {
  std::vector<Sample>& places = m_Places[samples];
  if (!places.empty()) return places;
  SmoothBuffer one;
  if (samples > 0 && one.begin(1, 1, 1, 0, samples))
    for (const auto& [across, up] : one.samplePlaces()) places.push_back({int(across * Steps), int(up * Steps)});
  if (places.empty()) places.push_back(Middle);
  return places;
}

void PointPlotter::plot(const DrawList& list, const math::Matrix4& projection, int width, int height, int samples) {
  m_Samples = placesOf(samples);
  m_Width = width;
  m_Height = height;
  collect(list, projection);
  arrange();
  m_Planes.resize(std::max(m_Planes.size(), m_Samples.size()));
  const auto pixelsOf = [this](std::size_t place) { return m_Strokes[m_Order[place]].pixels(); };
  for (std::size_t i = 0; i < m_Samples.size(); ++i)
    m_Planes[i].begin(width, height, m_Order.empty() ? 1 : pixelsOf(0));
  for (std::size_t first = 0, end = 0; first < m_Order.size(); first = end) {
    while (end < m_Order.size() && pixelsOf(end) == pixelsOf(first)) ++end;
    cutInto(pixelsOf(first));
    draw(first, end);
  }
  cutInto(1);
  m_Pixels.resize(std::size_t(width) * std::size_t(height));
  parallelRanges(
      std::size_t(height),
      [this](std::size_t row, std::size_t end, std::size_t) {
        for (; row < end; ++row) write(int(row));
      },
      WorthAThread / std::size_t(width) + 1);
}

void PointPlotter::collect(const DrawList& list, const math::Matrix4& projection) {
  m_Brushes.clear();
  m_Brushes.reserve(list.opaque().size());  // which strokes point at
  m_Strokes.clear();
  for (const Batch& batch : list.opaque()) {
    const Geometry& geometry = *batch.geometry;
    m_Brushes.push_back({&geometry, {projection, batch.modelView, m_Width, m_Height}, scene::colorOf(geometry)});
    for (std::size_t i = 0; i < batch.rangeCount; ++i) {
      const Range& range = list.ranges()[batch.firstRange + i];
      const std::int32_t size = sizeOf(batch, range, m_Samples.size() > 1);
      for (std::uint32_t first = 0; first < range.vertexCount; first += MostOfStroke)
        m_Strokes.push_back({&m_Brushes.back(), &range, range.firstVertex + first,
                             std::min(range.vertexCount - first, MostOfStroke), size});
    }
  }
}

/// Finds out where strokes are, and the order in which to draw them.
void PointPlotter::arrange() {
  constexpr std::size_t WorthSharing = 256;
  parallelRanges(
      m_Strokes.size(),
      [this](std::size_t stroke, std::size_t end, std::size_t) {
        for (; stroke < end; ++stroke) m_Strokes[stroke].place(m_Width, m_Height);
      },
      WorthSharing);
  m_Order.resize(m_Strokes.size());
  std::iota(m_Order.begin(), m_Order.end(), 0u);
  std::sort(m_Order.begin(), m_Order.end(), [this](std::uint32_t a, std::uint32_t b) {
    return std::tuple(-m_Strokes[a].pixels(), m_Strokes[a].nearest, a) <
           std::tuple(-m_Strokes[b].pixels(), m_Strokes[b].nearest, b);
  });
}

void PointPlotter::cutInto(int size) {
  for (std::size_t i = 0; i < m_Samples.size(); ++i) m_Planes[i].cutInto(size);
}

/// Strokes of one size, from m_Order, on all cores.
void PointPlotter::draw(std::size_t first, std::size_t end) {
  constexpr std::size_t AtOnce = 4;
  std::atomic<std::size_t> next{first};
  runOnCores(std::min(coreCount(), (end - first + AtOnce - 1) / AtOnce), [&](std::size_t) {
    for (std::size_t place; (place = next.fetch_add(AtOnce)) < end;)
      for (const std::size_t last = std::min(place + AtOnce, end); place < last; ++place)
        if (!isHidden(m_Strokes[m_Order[place]])) draw(m_Order[place]);
  });
}

bool PointPlotter::isHidden(const Stroke& stroke) const {
  const PixelBounds& steps = stroke.begun;
  const int more = stroke.size % Steps ? 1 : 0;  // pixels, as Spots::put has it
  for (std::size_t i = 0; i < m_Samples.size(); ++i) {
    const auto [across, up] = m_Samples[i];
    const PixelBounds begun{pixelAt(steps.left - across), pixelAt(steps.right - across) + more, pixelAt(steps.low - up),
                            pixelAt(steps.high - up) + more};
    if (!m_Planes[i].isBefore(begun, stroke.nearest)) return false;
  }
  return true;
}

void PointPlotter::draw(std::uint32_t number) {
  const Stroke& stroke = m_Strokes[number];
  const float* const positions = &stroke.brush->geometry->positions[std::size_t(stroke.firstVertex) * 3];
  Spots spots;
  for (std::uint32_t first = 0; first < stroke.count; first += Spots::Most) {
    spots.find(stroke.brush->projector, positions + std::size_t(first) * 3,
               std::min(stroke.count - first, Spots::Most));
    for (std::size_t i = 0; i < m_Samples.size(); ++i) spots.put(m_Planes[i], m_Samples[i], stroke.size, number, first);
  }
}

/// Of each pixel of a row the mean of its samples.
void PointPlotter::write(int y) {
  std::vector<const SquarePlane::Key*> keys;
  for (std::size_t i = 0; i < m_Samples.size(); ++i) keys.push_back(m_Planes[i].row(y));
  std::vector<std::uint32_t> colors(keys.size());
  std::uint32_t* const pixels = &m_Pixels[std::size_t(y) * std::size_t(m_Width)];
  for (int x = 0; x < m_Width; ++x) {
    const auto isAsBefore = [x](const SquarePlane::Key* key) { return key[x] == key[x - 1]; };
    if (x > 0 && std::all_of(keys.begin(), keys.end(), isAsBefore)) {
      pixels[x] = pixels[x - 1];
      continue;
    }
    for (std::size_t i = 0; i < keys.size(); ++i)
      colors[i] = i > 0 && keys[i][x] == keys[i - 1][x] ? colors[i - 1] : colorOf(keys[i][x]);
    pixels[x] = meanOf(colors);
  }
}

std::uint32_t PointPlotter::colorOf(SquarePlane::Key key) const {
  if (key == SquarePlane::Nothing) return 0;
  const Key order = orderOf(key);
  const Stroke& stroke = m_Strokes[(order >> PointBits) - 1];
  const std::size_t vertex = stroke.firstVertex + (order & (MostOfStroke - 1));
  const std::vector<std::uint8_t>& colors = stroke.brush->geometry->colors;
  std::uint32_t color;
  std::memcpy(&color, colors.empty() ? stroke.brush->color.data() : &colors[vertex * 4], sizeof color);
  return color;
}

}  // namespace nubo::scene
