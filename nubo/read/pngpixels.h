// PNG files as most textures are.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace nubo::read {

/// An inflated picture. Qt's reader takes several times as long for it, which counts where a model has thousands.
class PngPixels {
 public:
  /// Of a PNG file of three or four channels of 8 bits, by rows, with no colour that means transparent. Nothing for all
  /// else, and for files with damage: Qt reads those, and says what is wrong with them. Throws std::bad_alloc.
  static std::optional<PngPixels> of(const std::uint8_t* bytes, std::size_t size);

  std::uint32_t width() const { return m_Width; }
  std::uint32_t height() const { return m_Height; }
  /// Writes red, green, blue and alpha of each pixel, the top row first: 4 * width() * height() bytes. Once.
  void write(std::uint8_t* pixels);

 private:
  bool inflate(const std::vector<std::uint8_t>& deflated);
  std::size_t rowBytes() const { return m_Channels * m_Width; }

  std::uint32_t m_Width = 0, m_Height = 0;
  std::size_t m_Channels = 0;
  std::vector<std::uint8_t> m_Rows;  ///< each behind a byte that says how it is filtered
};

}  // namespace nubo::read
