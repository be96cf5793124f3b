// What becomes of a tile's pixels in a file.
#pragma once

#include <QByteArray>
#include <QColor>
#include <QImage>

namespace nubo::poster {

enum class Coding { Deflate, Zstd, Png, Jpeg };

struct TileFormat {
  Coding coding = Coding::Deflate;
  int quality = 90;   ///< of JPEG, 1 to 100
  QColor background;  ///< of a page that shows them
};

/// The bytes of a tile, whose pixels are Format_ARGB32 with straight alpha; opaque for JPEG. In a TIFF (deflate, zstd)
/// all tiles have `edge` pixels across and down, and a smaller one is filled up. Any thread; throws Error.
QByteArray encoded(const QImage& tile, const TileFormat& format, int edge);

/// Pixels that wait, Format_ARGB32, quickly made smaller without loss, and back. Any thread; throws Error.
QByteArray packed(const QImage& pixels);
QImage unpacked(const QByteArray& bytes, QSize size);

}  // namespace nubo::poster
