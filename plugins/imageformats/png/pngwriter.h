// Writes a QImage as a PNG file, with all processors and in memory that doesn't grow with the picture.
#pragma once

#include <QIODevice>
#include <QImage>
#include <QString>

namespace nubo::png {

struct WriteOptions {
  int compression = -1;  // 0 (none, fast) to 9 (small, slow), as in zlib; -1: a good and fast one
  float gamma = 0.f;     // of the file; 0: not said
  QString description;   // as for QImageIOHandler::Description
};

// Blocks until all is written to `device`, which is open and used on the calling thread only. False if the image is
// null, memory ran out, or the device refused, whose error then stands there; what was written so far stays. Any
// number of threads may write pictures at once.
[[nodiscard]] bool writePng(QIODevice& device, const QImage& image, const WriteOptions& options);

}  // namespace nubo::png
