#include "module_scene/draw/pointplotter.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "module_scene/draw/projector.h"
#include "module_scene/draw/smoothbuffer.h"
#include "module_scene/mesh/parallel.h"

namespace nubo::scene {

namespace {

/// Of depths, as they are kept.
constexpr std::int32_t Farthest = (1 << 24) - 1;

/// Steps. OpenGL rounds the size of what it does not smooth.
std::int32_t sizeOf(const Batch& batch, const Range& range, bool sampled) {
  const float width = range.width > 0 ? range.width : batch.width;
  const float pixels = sampled ? width : std::ceil(width - 0.5f);
  return std::int32_t(std::lrint(std::max(1.0f, pixels) * PointPlotter::Steps));
}

/// The first pixel whose sample does not lie before that place.
int pixelAt(int steps, int sample) { return (steps - sample + PointPlotter::Steps - 1) >> 8; }

std::uint32_t packed(const std::uint8_t* color) {
  std::uint32_t result;
  std::memcpy(&result, color, sizeof result);
  return result;
}

std::array<std::uint8_t, 4> colorOf(const Geometry& geometry) {
  std::array<std::uint8_t, 4> bytes{255, 255, 255, 255};
  if (geometry.material)
    for (std::size_t i = 0; i < 3; ++i)
      bytes[i] = std::uint8_t(std::lround(255 * std::clamp(geometry.material->diffuse[i], 0.0f, 1.0f)));
  return bytes;
}

/// False where there is none.
bool project(const Projector& projector, const float* position, std::array<float, 3>& place) {
  const std::array<float, 4> clip = projector.clip(position);
  const float w = clip[3];
  if (!(w > 0 && std::abs(clip[0]) <= w && std::abs(clip[1]) <= w && std::abs(clip[2]) <= w)) return false;
  place = projector.place(clip);
  return true;
}

}  // namespace

/// The pixels of a view as one core sees them, which draws some of the points.
class PointPlotter::Sheet {
 public:
  /// Anew, with nothing on it.
  void begin(int width, int height, const std::vector<Sample>& samples) {
    m_Width = width;
    m_Height = height;
    m_Samples = samples;
    m_Depths.assign(samples.size() * pixelCount(), Farthest);
    m_Colors.assign(m_Depths.size(), 0);
    m_Begun.assign(samples.size() == 1 ? pixelCount() : 0, {});
  }

  void draw(const Square& square) {
    for (std::size_t sample = 0; sample < m_Samples.size(); ++sample) {
      const auto [across, up] = m_Samples[sample];
      const int left = pixelAt(square.left, across), right = pixelAt(square.left + square.size, across);
      const int low = pixelAt(square.low, up), high = pixelAt(square.low + square.size, up);
      if (isHidden(square, left, low)) continue;
      fill(sample, std::max(left, 0), std::min(right, m_Width), std::max(low, 0), std::min(high, m_Height), square);
    }
  }

  /// Lays some pixels of one with later points over this one's.
  void add(const Sheet& later, std::size_t first, std::size_t end) {
    for (std::size_t plane = 0; plane < m_Colors.size(); plane += pixelCount())
      for (std::size_t at = plane + first; at < plane + end; ++at) put(at, later.m_Depths[at], later.m_Colors[at]);
  }

  /// Of each pixel the mean of its samples.
  void write(std::size_t first, std::size_t end, std::uint32_t* pixels) const {
    for (std::size_t pixel = first; pixel < end; ++pixel) {
      pixels[pixel] = m_Colors[pixel];
      for (std::size_t at = pixel; at < m_Colors.size(); at += pixelCount())
        if (m_Colors[at] != m_Colors[pixel]) {
          pixels[pixel] = meanOf(pixel);
          break;
        }
    }
  }

 private:
  std::size_t pixelCount() const { return std::size_t(m_Width) * std::size_t(m_Height); }

  /// Rounded as OpenGL does it.
  std::uint32_t meanOf(std::size_t pixel) const {
    std::uint32_t mean = 0;
    for (int shift = 0; shift < 32; shift += 8) {
      float sum = 0;
      for (std::size_t at = pixel; at < m_Colors.size(); at += pixelCount())
        sum += float(m_Colors[at] >> shift & 255) * (1 / 255.0f);
      mean |= std::uint32_t(std::lrint(sum * (1 / float(m_Samples.size())) * 255)) << shift;
    }
    return mean;
  }

  /// What is as far away as what was there before lies before it.
  void put(std::size_t at, std::int32_t depth, std::uint32_t color) {
    const bool isNearer = depth <= m_Depths[at];
    m_Depths[at] = isNearer ? depth : m_Depths[at];
    m_Colors[at] = isNearer ? color : m_Colors[at];
  }

  /// Whether a square that is drawn begins in the same pixel, is as large and lies before it: where there are many
  /// points in a pixel, most are hidden so. Else it is noted.
  bool isHidden(const Square& square, int left, int low) {
    if (m_Begun.empty() || left < 0 || low < 0 || left >= m_Width || low >= m_Height) return false;
    Begun& begun = m_Begun[std::size_t(low) * std::size_t(m_Width) + std::size_t(left)];
    if (begun.size >= square.size && begun.depth < square.depth) return true;
    begun = {square.size, square.depth};
    return false;
  }

  void fill(std::size_t sample, int left, int right, int low, int high, const Square& square) {
    const std::uint32_t color = packed(square.color);
    for (int y = low; y < high; ++y) {
      const std::size_t row = sample * pixelCount() + std::size_t(y) * std::size_t(m_Width);
      for (int x = left; x < right; ++x) put(row + std::size_t(x), square.depth, color);
    }
  }

  struct Begun {
    std::int32_t size = 0, depth = 0;  // of a square
  };

  int m_Width = 0, m_Height = 0;
  std::vector<Sample> m_Samples;
  std::vector<std::int32_t> m_Depths;  ///< of all pixels' first sample, then of the next
  std::vector<std::uint32_t> m_Colors;
  std::vector<Begun> m_Begun;  ///< in each pixel, where it has one sample
};

PointPlotter::PointPlotter() = default;
PointPlotter::~PointPlotter() = default;

/// Vertices that follow each other, and what they are drawn with.
struct PointPlotter::Stroke {
  const Batch* batch;
  const Range* range;
};

void PointPlotter::draw(const Stroke* strokes, std::size_t count, const math::Matrix4& projection, bool sampled,
                        Sheet& sheet) const {
  for (const Stroke* stroke = strokes; stroke != strokes + count; ++stroke) {
    const Batch& batch = *stroke->batch;
    const Geometry& geometry = *batch.geometry;
    const Projector projector(projection, batch.modelView, m_Width, m_Height);
    const std::int32_t steps = sizeOf(batch, *stroke->range, sampled);
    const std::array<std::uint8_t, 4> color = colorOf(geometry);
    std::array<float, 3> place{};
    for (std::uint32_t vertex = stroke->range->firstVertex, end = vertex + stroke->range->vertexCount; vertex < end;
         ++vertex) {
      if (!project(projector, &geometry.positions[std::size_t(vertex) * 3], place)) continue;
      sheet.draw({std::int32_t(std::lrint(place[0] * Steps)) - steps / 2,
                  std::int32_t(std::lrint(place[1] * Steps)) - steps / 2, steps,
                  std::int32_t(place[2] * float(Farthest)),
                  geometry.colors.empty() ? color.data() : &geometry.colors[std::size_t(vertex) * 4]});
    }
  }
}

const std::vector<PointPlotter::Sample>& PointPlotter::placesOf(int samples) {
  std::vector<Sample>& places = m_Samples[samples];
  if (!places.empty()) return places;
  SmoothBuffer one;
  if (samples > 0 && one.begin(1, 1, 1, 0, samples))
    for (const auto& [across, up] : one.samplePlaces()) places.push_back({int(across * Steps), int(up * Steps)});
  if (places.empty()) places.push_back(Middle);
  return places;
}

void PointPlotter::plot(const DrawList& list, const math::Matrix4& projection, int width, int height, int samples) {
  const std::vector<Sample>& places = placesOf(samples);
  m_Width = width;
  m_Height = height;
  std::vector<Stroke> strokes;
  for (const Batch& batch : list.opaque())
    for (std::size_t range = 0; range < batch.rangeCount; ++range)
      strokes.push_back({&batch, &list.ranges()[batch.firstRange + range]});
  const std::size_t pixels = std::size_t(width) * std::size_t(height), values = pixels * places.size();
  const std::size_t sheets = sheetsFor(strokes, values);
  m_Sheets.resize(std::max(m_Sheets.size(), sheets));
  runOnCores(sheets, [&](std::size_t i) {
    const std::size_t first = strokes.size() * i / sheets, end = strokes.size() * (i + 1) / sheets;
    m_Sheets[i].begin(width, height, places);
    draw(strokes.data() + first, end - first, projection, places.size() > 1, m_Sheets[i]);
  });
  m_Pixels.resize(pixels);
  parallelRanges(pixels, [&](std::size_t begin, std::size_t end, std::size_t) {
    for (std::size_t i = 1; i < sheets; ++i) m_Sheets[0].add(m_Sheets[i], begin, end);
    m_Sheets[0].write(begin, end, m_Pixels.data());
  });
}

/// How many cores may have a sheet of so many values: to begin one and to lay it over another takes as long as to draw
/// a fourth as many points.
std::size_t PointPlotter::sheetsFor(const std::vector<Stroke>& strokes, std::size_t values) {
  constexpr std::size_t Most = std::size_t(1) << 26;  // values, of 8 bytes each
  std::size_t points = 0;
  for (const Stroke& stroke : strokes) points += stroke.range->vertexCount;
  return std::clamp<std::size_t>(std::min(4 * points, Most) / std::max<std::size_t>(values, 1), 1, coreCount());
}

}  // namespace nubo::scene
