#include "module_poster/files/tilecoding.h"

#include <libdeflate.h>
#include <zstd.h>

#include <QBuffer>
#include <QImageWriter>
#include <cstring>
#include <memory>

#include "module_poster/files/error.h"

namespace nubo::poster {

namespace {

constexpr int Channels = 4;

QByteArray deflated(const QByteArray& bytes, int level) {
  const std::unique_ptr<libdeflate_compressor, void (*)(libdeflate_compressor*)> compressor(
      libdeflate_alloc_compressor(level), libdeflate_free_compressor);
  if (!compressor) throw Error(QStringLiteral("there is no memory left"));
  QByteArray result(int(libdeflate_zlib_compress_bound(compressor.get(), std::size_t(bytes.size()))),
                    Qt::Uninitialized);
  result.resize(int(libdeflate_zlib_compress(compressor.get(), bytes.constData(), std::size_t(bytes.size()),
                                             result.data(), std::size_t(result.size()))));
  return result;
}

QByteArray zstandard(const QByteArray& bytes) {
  constexpr int Level = 9;
  QByteArray result(int(ZSTD_compressBound(std::size_t(bytes.size()))), Qt::Uninitialized);
  const std::size_t size =
      ZSTD_compress(result.data(), std::size_t(result.size()), bytes.constData(), std::size_t(bytes.size()), Level);
  if (ZSTD_isError(size)) throw Error(QString::fromLatin1(ZSTD_getErrorName(size)));
  result.resize(int(size));
  return result;
}

/// Red, green, blue and alpha of each pixel as the difference to the one on its left (TIFF's predictor 2).
QByteArray differences(const QImage& tile, int edge) {
  QByteArray bytes(edge * edge * Channels, '\0');
  for (int y = 0; y < tile.height(); ++y) {
    const auto* pixels = reinterpret_cast<const QRgb*>(tile.constScanLine(y));
    auto* out = reinterpret_cast<uchar*>(bytes.data()) + std::ptrdiff_t(y) * edge * Channels;
    QRgb left = 0;
    for (int x = 0; x < edge; ++x) {
      const QRgb pixel = x < tile.width() ? pixels[x] : 0;
      const int channels[]{qRed(pixel) - qRed(left), qGreen(pixel) - qGreen(left), qBlue(pixel) - qBlue(left),
                           qAlpha(pixel) - qAlpha(left)};
      for (const int difference : channels) *out++ = uchar(difference);
      left = pixel;
    }
  }
  return bytes;
}

QByteArray written(const QImage& tile, const char* format, int quality) {
  QByteArray bytes;
  QBuffer buffer(&bytes);
  buffer.open(QIODevice::WriteOnly);
  QImageWriter writer(&buffer, format);
  if (quality > 0) writer.setQuality(quality);
  if (!writer.write(tile)) throw Error(writer.errorString());
  return bytes;
}

}  // namespace

QByteArray encoded(const QImage& tile, const TileFormat& format, int edge) {
  constexpr int DeflateLevel = 6;
  switch (format.coding) {
    case Coding::Deflate:
      return deflated(differences(tile, edge), DeflateLevel);
    case Coding::Zstd:
      return zstandard(differences(tile, edge));
    case Coding::Png:
      return written(tile, "png", 0);
    case Coding::Jpeg:
      return written(tile, "jpeg", format.quality);
  }
  return {};
}

QByteArray packed(const QImage& pixels) {
  const int row = pixels.width() * Channels;
  QByteArray bytes(row * pixels.height(), Qt::Uninitialized);
  for (int y = 0; y < pixels.height(); ++y)
    std::memcpy(bytes.data() + std::ptrdiff_t(y) * row, pixels.constScanLine(y), std::size_t(row));
  return deflated(bytes, 1);
}

QImage unpacked(const QByteArray& bytes, QSize size) {
  const std::unique_ptr<libdeflate_decompressor, void (*)(libdeflate_decompressor*)> decompressor(
      libdeflate_alloc_decompressor(), libdeflate_free_decompressor);
  QImage pixels(size, QImage::Format_ARGB32);
  if (!decompressor || pixels.isNull()) throw Error(QStringLiteral("there is no memory left"));
  // Rows of four bytes a pixel lie without gaps.
  if (libdeflate_zlib_decompress(decompressor.get(), bytes.constData(), std::size_t(bytes.size()), pixels.bits(),
                                 std::size_t(pixels.sizeInBytes()), nullptr) != LIBDEFLATE_SUCCESS)
    throw Error(QStringLiteral("pixels that waited on disk cannot be read"));
  return pixels;
}

}  // namespace nubo::poster
