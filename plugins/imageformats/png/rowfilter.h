// Chooses and applies the filter that makes a row of a PNG picture easy to deflate.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace nubo::png {

// Filters rows of one picture, in order. Not to be shared by threads.
class RowFilter {
 public:
  // `rowBytes` without the filter byte; `pixelBytes` is the distance of the same sample in the pixel before, at least
  // one. Palettes and bits deflate best as they are: `isAdaptive` false leaves every row alone.
  RowFilter(size_t rowBytes, int pixelBytes, bool isAdaptive);

  // The next row begins a run: what was chosen for rows before has no say any more.
  void beginRun();

  // Writes the filter's byte and `rowBytes` bytes to `out`. `previous` is the row above, zeros above the first one.
  void apply(const uint8_t* row, const uint8_t* previous, uint8_t* out);

 private:
  // What lies between the first pixel and the last ones that are background: outside of it, every pixel is as the one
  // beside it and the one above it.
  struct Middle {
    size_t begin, end;  // bytes
  };

  Middle findMiddle(const uint8_t* row, const uint8_t* previous) const;
  // Writes the first pixel and the middle.
  void filter(uint8_t type, const uint8_t* row, const uint8_t* previous, const Middle& middle, uint8_t* out) const;
  uint64_t cost(uint8_t type, const uint8_t* row, const Middle& middle, const uint8_t* filtered) const;
  // Writes what was best.
  void write(const Middle& middle, uint8_t* out) const;

  size_t m_rowBytes;
  size_t m_pixelBytes;
  bool m_isAdaptive;
  uint8_t m_lastType;
  std::vector<uint8_t> m_candidate, m_best;
};

}  // namespace nubo::png
