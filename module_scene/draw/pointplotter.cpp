#include "module_scene/draw/pointplotter.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "module_scene/draw/projector.h"
#include "module_scene/draw/smoothbuffer.h"
#include "module_scene/mesh/parallel.h"

namespace nubo::scene {

namespace {

/// Rows that one core fills in one go: what they need fits into its cache.
constexpr int BandRows = 64;
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

std::uint32_t colorOf(const Geometry& geometry) {
  std::uint8_t bytes[]{255, 255, 255, 255};
  if (geometry.material)
    for (std::size_t i = 0; i < 3; ++i)
      bytes[i] = std::uint8_t(std::lround(255 * std::clamp(geometry.material->diffuse[i], 0.0f, 1.0f)));
  return packed(bytes);
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

/// Rows of a view, which one core fills at a time.
class PointPlotter::Band {
 public:
  /// Anew, with the rows from `first` to before `end`.
  void begin(int width, int first, int end, const std::vector<Sample>& samples) {
    m_Width = width;
    m_First = first;
    m_End = end;
    m_Samples = samples;
    m_Depths.assign(samples.size() * pixelCount(), Farthest);
    m_Colors.assign(m_Depths.size(), 0);
  }

  void draw(const std::vector<Square>& squares) {
    for (std::size_t sample = 0; sample < m_Samples.size(); ++sample)
      for (const Square& square : squares) draw(square, sample);
  }

  /// To the first row's first one and following: of each pixel the mean of its samples.
  void write(std::uint32_t* pixels) const {
    for (std::size_t pixel = 0; pixel < pixelCount(); ++pixel) {
      pixels[pixel] = m_Colors[pixel];
      for (std::size_t at = pixel; at < m_Colors.size(); at += pixelCount())
        if (m_Colors[at] != m_Colors[pixel]) {
          pixels[pixel] = meanOf(pixel);
          break;
        }
    }
  }

 private:
  std::size_t pixelCount() const { return std::size_t(m_Width) * std::size_t(m_End - m_First); }

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
  void draw(const Square& square, std::size_t sample) {
    const auto [across, up] = m_Samples[sample];
    const int left = std::max(pixelAt(square.left, across), 0);
    const int right = std::min(pixelAt(square.left + square.size, across), m_Width);
    const int low = std::max(pixelAt(square.low, up), m_First);
    const int high = std::min(pixelAt(square.low + square.size, up), m_End);
    for (int y = low; y < high; ++y) {
      const std::size_t row = sample * pixelCount() + std::size_t(y - m_First) * std::size_t(m_Width);
      std::int32_t* depths = &m_Depths[row];
      std::uint32_t* colors = &m_Colors[row];
      for (int x = left; x < right; ++x) {
        const bool isNearer = square.depth <= depths[x];
        depths[x] = isNearer ? square.depth : depths[x];
        colors[x] = isNearer ? square.color : colors[x];
      }
    }
  }

  int m_Width = 0, m_First = 0, m_End = 0;
  std::vector<Sample> m_Samples;
  std::vector<std::int32_t> m_Depths;  ///< of all pixels' first sample, then of the next
  std::vector<std::uint32_t> m_Colors;
};

PointPlotter::PointPlotter() = default;
PointPlotter::~PointPlotter() = default;

/// Vertices that follow each other, and what they are drawn with.
struct PointPlotter::Stroke {
  const Batch* batch;
  const Range* range;
};

/// Adds squares to those of each band that they reach into.
void PointPlotter::place(const Stroke* strokes, std::size_t count, const math::Matrix4& projection, bool sampled,
                         std::vector<Square>* bands) const {
  for (const Stroke* stroke = strokes; stroke != strokes + count; ++stroke) {
    const Batch& batch = *stroke->batch;
    const Geometry& geometry = *batch.geometry;
    const Projector projector(projection, batch.modelView, m_Width, m_Height);
    const std::int32_t steps = sizeOf(batch, *stroke->range, sampled);
    const std::uint32_t color = colorOf(geometry);
    std::array<float, 3> place{};
    for (std::uint32_t vertex = stroke->range->firstVertex, end = vertex + stroke->range->vertexCount; vertex < end;
         ++vertex) {
      if (!project(projector, &geometry.positions[std::size_t(vertex) * 3], place)) continue;
      Square square{std::int32_t(std::lrint(place[0] * Steps)) - steps / 2,
                    std::int32_t(std::lrint(place[1] * Steps)) - steps / 2, steps,
                    std::int32_t(place[2] * float(Farthest)),
                    geometry.colors.empty() ? color : packed(&geometry.colors[std::size_t(vertex) * 4])};
      const int first = std::max(pixelAt(square.low, Steps - 1), 0) / BandRows;
      const int last = std::min(pixelAt(square.low + steps, 0), m_Height) - 1;
      for (int band = first; band * BandRows <= last; ++band) bands[band].push_back(square);
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
  m_Bands.resize(std::size_t((height + BandRows - 1) / BandRows));
  runOnCores(m_Bands.size(), [&](std::size_t band) {
    const int first = int(band) * BandRows;
    m_Bands[band].begin(width, first, std::min(first + BandRows, height), places);
  });
  std::vector<Stroke> strokes;
  for (const Batch& batch : list.opaque())
    for (std::size_t range = 0; range < batch.rangeCount; ++range)
      strokes.push_back({&batch, &list.ranges()[batch.firstRange + range]});
  // So that what is placed takes little room, however many there are.
  constexpr std::size_t StrokesAtOnce = 512;
  for (std::size_t first = 0; first < strokes.size(); first += StrokesAtOnce)
    draw(&strokes[first], std::min(StrokesAtOnce, strokes.size() - first), projection, places.size() > 1);
  m_Pixels.resize(std::size_t(width) * std::size_t(height));
  runOnCores(m_Bands.size(),
             [&](std::size_t band) { m_Bands[band].write(&m_Pixels[band * BandRows * std::size_t(width)]); });
}

void PointPlotter::draw(const Stroke* strokes, std::size_t count, const math::Matrix4& projection, bool sampled) {
  constexpr std::size_t StrokesWorthAThread = 8;
  const std::size_t placers = rangeCount(count, StrokesWorthAThread), bands = m_Bands.size();
  m_Squares.resize(std::max(m_Squares.size(), placers * bands));
  for (std::vector<Square>& squares : m_Squares) squares.clear();
  parallelRanges(
      count,
      [&](std::size_t begin, std::size_t end, std::size_t placer) {
        place(strokes + begin, end - begin, projection, sampled, &m_Squares[placer * bands]);
      },
      StrokesWorthAThread);
  runOnCores(bands, [&](std::size_t band) {
    for (std::size_t placer = 0; placer < placers; ++placer) m_Bands[band].draw(m_Squares[placer * bands + band]);
  });
}

}  // namespace nubo::scene
