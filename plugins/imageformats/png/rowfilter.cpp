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

void filterPaeth(const uint8_t* row, const uint8_t* previous, uint8_t* out, size_t from, size_t to) {
  for (size_t i = from; i < to; ++i) {
    const int16_t left = row[i - from], above = previous[i], corner = previous[i - from];
    const auto toAbove = int16_t(above - corner), toLeft = int16_t(left - corner);
    const auto distanceLeft = int16_t(std::abs(toAbove)), distanceAbove = int16_t(std::abs(toLeft));
    const auto distanceCorner = int16_t(std::abs(toAbove + toLeft));
    const int16_t other = distanceAbove <= distanceCorner ? above : corner;
    const int16_t guess = distanceLeft <= distanceAbove && distanceLeft <= distanceCorner ? left : other;
    out[i] = uint8_t(row[i] - guess);
  }
}

// The sum of the bytes taken as signed distances from zero: small sums deflate well.
uint64_t cost(const uint8_t* bytes, size_t count) {
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
      m_candidate(isAdaptive ? rowBytes : 0) {
  beginRun();
}

void RowFilter::beginRun() { m_lastType = Up; }

void RowFilter::filter(uint8_t type, const uint8_t* __restrict row, const uint8_t* __restrict previous,
                       uint8_t* __restrict out) const {
  const size_t first = m_pixelBytes;
  // Left of the first pixel are zeros, which makes Paeth guess the byte above.
  for (size_t i = 0; i < first; ++i) out[i] = uint8_t(row[i] - (type == Up || type == Paeth ? previous[i] : 0));
  switch (type) {
    case Sub:
      for (size_t i = first; i < m_rowBytes; ++i) out[i] = uint8_t(row[i] - row[i - first]);
      break;
    case Up:
      for (size_t i = first; i < m_rowBytes; ++i) out[i] = uint8_t(row[i] - previous[i]);
      break;
    case Paeth:
      filterPaeth(row, previous, out, first, m_rowBytes);
      break;
    default:
      std::memcpy(out, row, m_rowBytes);
  }
}

void RowFilter::apply(const uint8_t* row, const uint8_t* previous, uint8_t* out) {
  if (!m_isAdaptive) {
    out[0] = None;
    std::memcpy(out + 1, row, m_rowBytes);
    return;
  }
  const uint8_t before = m_lastType;
  uint64_t best = std::numeric_limits<uint64_t>::max();
  for (const uint8_t type : {Up, Sub, None, Paeth}) {
    filter(type, row, previous, m_candidate.data());
    const uint64_t weighted = cost(m_candidate.data(), m_rowBytes) * weight(type, before);
    if (weighted >= best) continue;
    best = weighted;
    out[0] = m_lastType = type;
    std::memcpy(out + 1, m_candidate.data(), m_rowBytes);
    if (best == 0) break;
  }
}

}  // namespace nubo::png
