#include "plugins/imageformats/png/segmentencoder.h"

#include <new>
#include <stdexcept>

#include "plugins/imageformats/png/deflatejoint.h"

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
      mp_compressor(libdeflate_alloc_compressor(level)),
      m_row(m_rowBytes),
      m_previous(m_rowBytes) {
  if (!mp_compressor) throw std::bad_alloc();
}

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
  m_deflated.resize(libdeflate_deflate_compress_bound(mp_compressor.get(), m_filtered.size()));
  const size_t size = libdeflate_deflate_compress(mp_compressor.get(), m_filtered.data(), m_filtered.size(),
                                                  m_deflated.data(), m_deflated.size());
  if (size == 0) throw std::runtime_error("the rows can't be deflated");

  Segment segment;
  segment.data.reserve(size + 16);
  segment.data.assign(m_deflated.begin(), m_deflated.begin() + ptrdiff_t(size));
  segment.rawBytes = m_filtered.size();
  segment.adler = libdeflate_adler32(1, m_filtered.data(), m_filtered.size());
  if (rows.end < m_height && !openEnd(segment.data)) throw std::runtime_error("the deflated rows can't be continued");
  return segment;
}

}  // namespace nubo::png
