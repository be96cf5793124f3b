// Gives the rows of a QImage as PNG stores them, whatever the format of the image.
#pragma once

#include <QImage>
#include <cstdint>

namespace nubo::png {

// How a picture's samples lie in a PNG file. The choice is that of Qt's own writer, so that a picture reads back in
// the same format whoever wrote it.
struct PixelLayout {
  enum ColorType : uint8_t { Gray = 0, Rgb = 2, Palette = 3, Rgba = 6 };

  static PixelLayout of(const QImage& image);

  int channels() const { return colorType == Rgba ? 4 : colorType == Rgb ? 3 : 1; }
  size_t rowBytes(int width) const { return (size_t(width) * size_t(channels() * bitDepth) + 7) / 8; }
  int pixelBytes() const { return bitDepth < 8 ? 1 : channels() * bitDepth / 8; }

  ColorType colorType;
  uint8_t bitDepth;
};

// Converts single rows, so that no copy of the image is ever made. Readers of the same image may work at once.
class RowReader {
 public:
  // `image` must outlive the reader and stay unchanged.
  explicit RowReader(const QImage& image);

  // Writes the row's PixelLayout::rowBytes bytes to `out`.
  void read(int y, uint8_t* out) const;

 private:
  QImage row(int y) const;

  const QImage& m_image;
  PixelLayout m_layout;
};

}  // namespace nubo::png
