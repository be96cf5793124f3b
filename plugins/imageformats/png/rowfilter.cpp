#include "plugins/imageformats/png/rowfilter.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace nubo::png {
namespace {

// Without the format's average filter, which hardly ever wins over these.
enum FilterType : uint8_t { None = 0, Sub = 1, Up = 2, Paeth = 4 };

// The loops below have no dependence between steps, so that the compiler makes vectors of them.

void filterPaeth(const uint8_t* row, const uint8_t* previous, uint8_t* out, size_t pixel, size_t from, size_t to) {
  for (size_t i = from; i < to; ++i) {
    const int16_t left = row[i - pixel], above = previous[i], corner = previous[i - pixel];
    const auto toAbove = int16_t(above - corner), toLeft = int16_t(left - corner);
    const auto distanceLeft = int16_t(std::abs(toAbove)), distanceAbove = int16_t(std::abs(toLeft));
    const auto distanceCorner = int16_t(std::abs(toAbove + toLeft));
    const int16_t other = distanceAbove <= distanceCorner ? above : corner;
    const int16_t guess = distanceLeft <= distanceAbove && distanceLeft <= distanceCorner ? left : other;
    out[i] = uint8_t(row[i] - guess);
  }
}

// The sum of the bytes taken as signed distances from zero: small sums deflate well.
uint64_t sumOf(const uint8_t* bytes, size_t count) {
  uint64_t total = 0;
  for (size_t begin = 0; begin < count; begin += 1 << 16) {
    const size_t end = std::min(count, begin + (1 << 16));
    uint32_t sum = 0;
    for (size_t i = begin; i < end; ++i) sum += std::min<uint8_t>(bytes[i], uint8_t(-bytes[i]));
    total += sum;
  }
  return total;
}

// Rows that go on with the same filter match each other better, so another one must win clearly; Paeth breaks up what
// repeats in facets, and pays only where there is noise or a smooth course in both directions.
uint64_t weight(uint8_t type, uint8_t before) {
  const uint64_t own = type == Paeth ? 7 : 5;
  return own * (type == before ? 7 : 8);
}

}  // namespace

RowFilter::RowFilter(size_t rowBytes, int pixelBytes, bool isAdaptive)
    : m_rowBytes(rowBytes),
      m_pixelBytes(std::min(size_t(pixelBytes), rowBytes)),
      m_isAdaptive(isAdaptive),
      m_candidate(isAdaptive ? rowBytes : 0),
      m_best(m_candidate.size()) {
  beginRun();
}

void RowFilter::beginRun() { m_lastType = Up; }

RowFilter::Middle RowFilter::findMiddle(const uint8_t* row, const uint8_t* previous) const {
  constexpr size_t PixelsAtOnce = 64;
  const size_t pixel = m_pixelBytes, step = PixelsAtOnce * pixel;
  const auto isBackground = [=](size_t at) {
    return std::memcmp(row + at - pixel, previous + at - pixel, step + pixel) == 0 &&
           std::memcmp(row + at, row + at - pixel, step) == 0;
  };
  Middle middle{pixel, m_rowBytes};
  while (middle.begin + step <= middle.end && isBackground(middle.begin)) middle.begin += step;
  while (middle.begin + step <= middle.end && isBackground(middle.end - step)) middle.end -= step;
  return middle;
}

void RowFilter::filter(uint8_t type, const uint8_t* __restrict row, const uint8_t* __restrict previous,
                       const Middle& middle, uint8_t* __restrict out) const {
  const size_t pixel = m_pixelBytes;
  // Left of the first pixel are zeros, which makes Paeth guess the byte above.
  for (size_t i = 0; i < pixel; ++i) out[i] = uint8_t(row[i] - (type == Up || type == Paeth ? previous[i] : 0));
  switch (type) {
    case Sub:
      for (size_t i = middle.begin; i < middle.end; ++i) out[i] = uint8_t(row[i] - row[i - pixel]);
      break;
    case Up:
      for (size_t i = middle.begin; i < middle.end; ++i) out[i] = uint8_t(row[i] - previous[i]);
      break;
    case Paeth:
      filterPaeth(row, previous, out, pixel, middle.begin, middle.end);
      break;
    default:
      std::memcpy(out + middle.begin, row + middle.begin, middle.end - middle.begin);
  }
}

uint64_t RowFilter::cost(uint8_t type, const uint8_t* row, const Middle& middle, const uint8_t* filtered) const {
  const uint64_t own = sumOf(filtered, m_pixelBytes) + sumOf(filtered + middle.begin, middle.end - middle.begin);
  if (type != None) return own;  // the others make zeros of background
  const uint64_t left = sumOf(row, m_pixelBytes) * (middle.begin / m_pixelBytes - 1);
  const uint64_t right =
      sumOf(row + m_rowBytes - m_pixelBytes, m_pixelBytes) * ((m_rowBytes - middle.end) / m_pixelBytes);
  return own + left + right;
}

void RowFilter::apply(const uint8_t* row, const uint8_t* previous, uint8_t* out) {
  out[0] = None;
  if (m_isAdaptive) {
    const Middle middle = findMiddle(row, previous);
    const uint8_t before = m_lastType;
    uint64_t best = std::numeric_limits<uint64_t>::max();
    for (const uint8_t type : {Up, Sub, None, Paeth}) {
      filter(type, row, previous, middle, m_candidate.data());
      const uint64_t weighted = cost(type, row, middle, m_candidate.data()) * weight(type, before);
      if (weighted >= best) continue;
      best = weighted;
      out[0] = m_lastType = type;
      m_best.swap(m_candidate);
      if (best == 0) break;
    }
    if (m_lastType != None) return write(middle, out + 1);
  }
  std::memcpy(out + 1, row, m_rowBytes);
}

void RowFilter::write(const Middle& middle, uint8_t* out) const {
  std::memcpy(out, m_best.data(), m_pixelBytes);
  std::memset(out + m_pixelBytes, 0, middle.begin - m_pixelBytes);
  std::memcpy(out + middle.begin, m_best.data() + middle.begin, middle.end - middle.begin);
  std::memset(out + middle.end, 0, m_rowBytes - middle.end);
}

}  // namespace nubo::png
