#include "plugins/imageformats/png/pngwriter.h"

#include <QFileDevice>
#include <QtEndian>
#include <algorithm>
#include <exception>
#include <memory>
#include <thread>

#include "plugins/imageformats/png/orderedwork.h"
#include "plugins/imageformats/png/pngchunks.h"
#include "plugins/imageformats/png/segmentencoder.h"

namespace nubo::png {
namespace {

// Long enough that a segment's start, where nothing can be matched yet, costs little; short enough for the caches.
constexpr size_t SegmentBytes = 1 << 20;

// Each thread takes some 4 MB.
constexpr int MaxThreads = 8;

// How an image is cut into segments, each of whole rows.
class Cut {
 public:
  explicit Cut(const QImage& image)
      : m_height(image.height()),
        m_rows(int(std::clamp<size_t>(SegmentBytes / (PixelLayout::of(image).rowBytes(image.width()) + 1), 1,
                                      size_t(image.height())))) {}

  int count() const { return (m_height - 1) / m_rows + 1; }
  RowRange operator[](int i) const { return {i * m_rows, i + 1 < count() ? (i + 1) * m_rows : m_height}; }

 private:
  int m_height;
  int m_rows;
};

// Big pictures take so long that time matters more than bytes; small ones take no time anyway.
int levelFor(int compression, const QImage& image) {
  constexpr qint64 BigPixels = 16000000;
  if (compression >= 0) return std::min(compression, 9);
  return qint64(image.width()) * image.height() > BigPixels ? FastLevel : 6;
}

void append(std::vector<uint8_t>& data, uint32_t value) {
  data.resize(data.size() + 4);
  qToBigEndian(value, data.data() + data.size() - 4);
}

bool writePixels(ChunkStream& stream, const QImage& image, int level) {
  const Cut cut(image);
  const auto makeEncode = [&image, &cut, level]() -> OrderedWork::Encode {
    const auto encoder = std::make_shared<SegmentEncoder>(image, level);
    return [encoder, &cut](int i) { return encoder->encode(cut[i]); };
  };
  const int threads = std::min({cut.count(), MaxThreads, int(std::thread::hardware_concurrency())});
  OrderedWork work(cut.count(), threads > 1 ? threads : 0, makeEncode);

  uint32_t adler = 1;
  for (int i = 0; i < cut.count(); ++i) {
    auto segment = work.takeNext();
    if (!segment) return false;
    std::vector<uint8_t>& data = segment->data;
    adler = combineAdler(adler, segment->adler, segment->rawBytes);
    // The frame of a zlib stream with a window of 32 KiB.
    if (i == 0) data.insert(data.begin(), {0x78, 0x9c});
    if (i == cut.count() - 1) append(data, adler);
    if (!stream.write("IDAT", reinterpret_cast<const char*>(data.data()), data.size())) return false;
  }
  return true;
}

// What a file still keeps in its buffer may be what the disk has no room for.
bool flush(QIODevice& device) {
  auto* file = qobject_cast<QFileDevice*>(&device);
  return !file || file->flush();
}

}  // namespace

bool writePng(QIODevice& device, const QImage& image, const WriteOptions& options) {
  if (image.isNull() || !device.isWritable()) return false;
  try {
    ChunkStream stream(device);
    return writeHeader(stream, image, options.gamma, options.description) &&
           writePixels(stream, image, levelFor(options.compression, image)) && stream.write("IEND", nullptr, 0) &&
           flush(device);
  } catch (const std::bad_alloc&) {
    return false;
  }
}

}  // namespace nubo::png
