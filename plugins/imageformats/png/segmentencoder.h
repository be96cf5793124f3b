// Turns a run of rows into a piece of the deflate stream of a PNG picture.
#pragma once

#include <QImage>
#include <memory>
#include <vector>

#include "plugins/imageformats/png/deflater.h"
#include "plugins/imageformats/png/pngrows.h"
#include "plugins/imageformats/png/rowfilter.h"

namespace nubo::png {

// Rows [first, end) of an image.
struct RowRange {
  int first;
  int end;
};

// Filtered and deflated rows. All but the last of a picture are open at their end.
struct Segment {
  std::vector<uint8_t> data;
  uint32_t adler = 1;     // of the filtered rows
  uint64_t rawBytes = 0;  // of the filtered rows
};

// The checksum of two runs of bytes from the sums of both, the second one being `secondBytes` long.
uint32_t combineAdler(uint32_t first, uint32_t second, uint64_t secondBytes);

// Encodes segments one after another in memory of its own; one for each thread.
class SegmentEncoder {
 public:
  // `image` must outlive the encoder; `level` is makeDeflater()'s. Throws std::bad_alloc.
  SegmentEncoder(const QImage& image, int level);

  // Throws std::bad_alloc, and std::runtime_error if the deflated rows can't be continued.
  Segment encode(RowRange rows);

 private:
  void filterRows(RowRange rows);

  int m_height;
  RowReader m_reader;
  size_t m_rowBytes;
  RowFilter m_filter;
  std::unique_ptr<Deflater> mp_deflater;
  std::vector<uint8_t> m_row;
  std::vector<uint8_t> m_previous;
  std::vector<uint8_t> m_filtered;
};

}  // namespace nubo::png
