#include "plugins/imageformats/png/segmentencoder.h"

#include <libdeflate.h>

namespace nubo::png {

uint32_t combineAdler(uint32_t first, uint32_t second, uint64_t secondBytes) {
  constexpr uint64_t Modulus = 65521;
  const uint64_t firstSum = first & 0xffff, secondSum = second & 0xffff;
  // The sum begins at one, which both runs have counted.
  const uint64_t sum = (firstSum + secondSum + Modulus - 1) % Modulus;
  const uint64_t shift = (secondBytes % Modulus) * (firstSum + Modulus - 1) % Modulus;
  const uint64_t sumOfSums = ((first >> 16) + (second >> 16) + shift) % Modulus;
  return uint32_t(sumOfSums << 16 | sum);
}

SegmentEncoder::SegmentEncoder(const QImage& image, int level)
    : m_height(image.height()),
      m_reader(image),
      m_rowBytes(PixelLayout::of(image).rowBytes(image.width())),
      m_filter(m_rowBytes, PixelLayout::of(image).pixelBytes(),
               level > 0 && image.depth() >= 8 && PixelLayout::of(image).colorType != PixelLayout::Palette),
      mp_deflater(makeDeflater(level)),
      m_row(m_rowBytes),
      m_previous(m_rowBytes) {}

void SegmentEncoder::filterRows(RowRange rows) {
  m_filtered.resize(size_t(rows.end - rows.first) * (m_rowBytes + 1));
  if (rows.first > 0)
    m_reader.read(rows.first - 1, m_previous.data());
  else
    std::fill(m_previous.begin(), m_previous.end(), 0);
  // Which segments an encoder gets depends on the load; what becomes of one must not.
  m_filter.beginRun();
  uint8_t* out = m_filtered.data();
  for (int y = rows.first; y < rows.end; ++y, out += m_rowBytes + 1) {
    m_reader.read(y, m_row.data());
    m_filter.apply(m_row.data(), m_previous.data(), out);
    m_row.swap(m_previous);
  }
}

Segment SegmentEncoder::encode(RowRange rows) {
  filterRows(rows);
  Segment segment;
  segment.data = mp_deflater->deflate(m_filtered, rows.end == m_height);
  segment.rawBytes = m_filtered.size();
  segment.adler = libdeflate_adler32(1, m_filtered.data(), m_filtered.size());
  return segment;
}

}  // namespace nubo::png
