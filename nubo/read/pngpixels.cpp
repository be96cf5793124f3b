#include "nubo/read/pngpixels.h"

#include <libdeflate.h>

#include <QtEndian>
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

namespace nubo::read {
namespace {

constexpr std::uint8_t Signature[]{0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n'};
constexpr std::size_t ColorsOnly = 3, WithAlpha = 4;
constexpr std::uint32_t LargestSide = 16384;

enum Filter : std::uint8_t { None, Sub, Up, Average, Paeth, FilterCount };

struct Chunk {
  std::uint32_t size = 0;
  const std::uint8_t* type = nullptr;
  const std::uint8_t* data = nullptr;

  bool is(const char* name) const { return std::memcmp(type, name, 4) == 0; }
};

/// The chunks of a file, one after the other.
class Chunks {
 public:
  Chunks(const std::uint8_t* bytes, std::size_t size) : mp_At(bytes), m_Left(size) {}

  /// Nothing at the end, and where the next is not whole.
  std::optional<Chunk> next() {
    constexpr std::size_t TypeSize = 4, Around = 12;
    if (m_Left < Around) return std::nullopt;
    const Chunk chunk{qFromBigEndian<std::uint32_t>(mp_At), mp_At + TypeSize, mp_At + 2 * TypeSize};
    if (chunk.size > m_Left - Around) return std::nullopt;
    const std::uint32_t sum = libdeflate_crc32(0, chunk.type, TypeSize + chunk.size);
    if (sum != qFromBigEndian<std::uint32_t>(chunk.data + chunk.size)) return std::nullopt;
    mp_At += Around + chunk.size;
    m_Left -= Around + chunk.size;
    return chunk;
  }

 private:
  const std::uint8_t* mp_At;
  std::size_t m_Left;
};

/// What the format's description calls by that name: of left, above and upper left the one nearest to their plane.
int paeth(int left, int above, int corner) {
  const int toLeft = std::abs(above - corner), toAbove = std::abs(left - corner);
  const int toCorner = std::abs(left + above - 2 * corner);
  if (toLeft <= toAbove && toLeft <= toCorner) return left;
  return toAbove <= toCorner ? above : corner;
}

/// Puts back what a filter has taken from a row; left of it and above the first are zeros.
template <std::size_t Channels>
void unfilter(std::uint8_t filter, std::uint8_t* row, const std::uint8_t* above, std::size_t size) {
  switch (filter) {
    case Sub:
      for (std::size_t i = Channels; i < size; ++i) row[i] = std::uint8_t(row[i] + row[i - Channels]);
      return;
    case Up:
      for (std::size_t i = 0; i < size; ++i) row[i] = std::uint8_t(row[i] + above[i]);
      return;
    case Average:
      for (std::size_t i = 0; i < size; ++i)
        row[i] = std::uint8_t(row[i] + ((i < Channels ? 0 : row[i - Channels]) + above[i]) / 2);
      return;
    case Paeth:
      for (std::size_t i = 0; i < Channels; ++i) row[i] = std::uint8_t(row[i] + above[i]);
      for (std::size_t i = Channels; i < size; ++i)
        row[i] = std::uint8_t(row[i] + paeth(row[i - Channels], above[i], above[i - Channels]));
      return;
    default:
      return;
  }
}

template <std::size_t Channels>
void writeRows(std::uint8_t* rows, std::uint32_t width, std::uint32_t height, std::uint8_t* pixels) {
  constexpr std::uint8_t Opaque = 255;
  const std::size_t size = Channels * width;
  const std::vector<std::uint8_t> zeros(size);
  const std::uint8_t* above = zeros.data();
  for (std::uint32_t y = 0; y < height; ++y) {
    std::uint8_t* row = rows + (size + 1) * y + 1;
    unfilter<Channels>(row[-1], row, above, size);
    above = row;
    for (std::uint32_t x = 0; x < width; ++x, pixels += WithAlpha) {
      for (std::size_t i = 0; i < Channels; ++i) pixels[i] = row[Channels * x + i];
      if (Channels == ColorsOnly) pixels[ColorsOnly] = Opaque;
    }
  }
}

}  // namespace

std::optional<PngPixels> PngPixels::of(const std::uint8_t* bytes, std::size_t size) {
  constexpr std::uint32_t HeaderSize = 13;
  constexpr std::uint8_t Depth = 8, Colors = 2, ColorsAndAlpha = 6;
  if (size < sizeof Signature || std::memcmp(bytes, Signature, sizeof Signature) != 0) return std::nullopt;
  Chunks chunks(bytes + sizeof Signature, size - sizeof Signature);
  const std::optional<Chunk> header = chunks.next();
  if (!header || !header->is("IHDR") || header->size != HeaderSize) return std::nullopt;
  const std::uint8_t *kind = header->data + 8, channels = kind[1];
  const std::uint8_t plain[]{Depth, channels, 0, 0, 0};  // also deflated, filtered and one row after the other
  if (std::memcmp(kind, plain, sizeof plain) != 0 || (channels != Colors && channels != ColorsAndAlpha))
    return std::nullopt;
  PngPixels result;
  result.m_Width = qFromBigEndian<std::uint32_t>(header->data);
  result.m_Height = qFromBigEndian<std::uint32_t>(header->data + 4);
  result.m_Channels = channels == Colors ? ColorsOnly : WithAlpha;
  const auto [least, most] = std::minmax(result.m_Width, result.m_Height);
  if (least == 0 || most > LargestSide) return std::nullopt;
  std::vector<std::uint8_t> deflated;
  for (std::optional<Chunk> chunk = chunks.next(); chunk; chunk = chunks.next()) {
    if (chunk->is("IDAT")) deflated.insert(deflated.end(), chunk->data, chunk->data + chunk->size);
    if (chunk->is("tRNS")) return std::nullopt;
    if (chunk->is("IEND")) return result.inflate(deflated) ? std::optional(std::move(result)) : std::nullopt;
  }
  return std::nullopt;
}

bool PngPixels::inflate(const std::vector<std::uint8_t>& deflated) {
  constexpr std::size_t MostPerByte = 1032;  // that the format can deflate to one
  const std::size_t step = rowBytes() + 1, size = step * m_Height;
  if (size / MostPerByte > deflated.size()) return false;  // before memory is taken for what cannot come
  m_Rows.resize(size);
  const std::unique_ptr<libdeflate_decompressor, void (*)(libdeflate_decompressor*)> decompressor(
      libdeflate_alloc_decompressor(), &libdeflate_free_decompressor);
  if (!decompressor) throw std::bad_alloc();
  // It is a failure, too, where the file holds fewer bytes or more.
  if (libdeflate_zlib_decompress(decompressor.get(), deflated.data(), deflated.size(), m_Rows.data(), size, nullptr) !=
      LIBDEFLATE_SUCCESS)
    return false;
  for (std::size_t row = 0; row < size; row += step)
    if (m_Rows[row] >= FilterCount) return false;
  return true;
}

void PngPixels::write(std::uint8_t* pixels) {
  m_Channels == ColorsOnly ? writeRows<ColorsOnly>(m_Rows.data(), m_Width, m_Height, pixels)
                           : writeRows<WithAlpha>(m_Rows.data(), m_Width, m_Height, pixels);
}

}  // namespace nubo::read
