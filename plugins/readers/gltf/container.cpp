#include "plugins/readers/gltf/container.h"

#include <QtEndian>
#include <algorithm>
#include <array>
#include <filesystem>

namespace nubo::reader {
namespace {

constexpr std::array<unsigned char, 4> Magic{'g', 'l', 'T', 'F'};
constexpr std::size_t HeaderSize = 12, ChunkHeaderSize = 8;
constexpr std::uint32_t Version = 2, TextChunk = 0x4E4F534A, ContentChunk = 0x004E4942;

std::uint32_t wordAt(const std::vector<unsigned char>& bytes, std::size_t at) {
  return qFromLittleEndian<std::uint32_t>(&bytes[at]);
}

}  // namespace

std::vector<unsigned char> readWhole(const std::string& name, Output& output) {
  constexpr std::size_t AtOnce = 1 << 22;
  std::ifstream file(name, std::ios::binary);
  std::vector<unsigned char> bytes;
  std::error_code none;
  if (const auto size = std::filesystem::file_size(name, none); !none) bytes.reserve(size + AtOnce);
  while (file) {
    const std::size_t before = bytes.size();
    bytes.resize(before + AtOnce);
    file.read(reinterpret_cast<char*>(bytes.data() + before), AtOnce);
    bytes.resize(before + std::size_t(file.gcount()));
    output.progress(-1);
  }
  return bytes;
}

Container::Container(const std::string& name, Output& output) {
  constexpr std::uintmax_t Largest = 0xFFFFFFFF;
  const std::uintmax_t size = std::filesystem::file_size(name);
  if (size > Largest) throw Refusal("glTF files above 4 GB cannot be read");
  m_FileSize = std::size_t(size);
  m_File.open(name, std::ios::binary);
  const std::vector<unsigned char> first = read(0, std::min(Magic.size(), m_FileSize));
  m_IsBinary = std::equal(first.begin(), first.end(), Magic.begin(), Magic.end());
  if (m_IsBinary)
    openBinary();
  else
    text = readWhole(name, output);
}

void Container::openBinary() {
  const std::size_t textOffset = HeaderSize + ChunkHeaderSize;
  if (m_FileSize < textOffset) throw Refusal("the file is truncated");
  const std::vector<unsigned char> header = read(0, textOffset);
  if (wordAt(header, 4) != Version) throw Refusal("its version of glTF is not known");
  const std::size_t textSize = wordAt(header, HeaderSize);
  if (wordAt(header, HeaderSize + 4) != TextChunk) throw Refusal("its content is not understood");
  if (textSize > m_FileSize - textOffset) throw Refusal("the file is truncated");
  text = read(textOffset, textSize);
  const std::size_t chunk = textOffset + textSize;
  if (m_FileSize - chunk < ChunkHeaderSize) return;
  const std::vector<unsigned char> second = read(chunk, ChunkHeaderSize);
  if (wordAt(second, 4) != ContentChunk) return;
  m_ContentOffset = chunk + ChunkHeaderSize;
  m_ContentSize = wordAt(second, 0);
  if (m_ContentSize > m_FileSize - m_ContentOffset) throw Refusal("the file is truncated");
}

std::vector<unsigned char> Container::content(std::size_t offset, std::size_t size) {
  // What short arrays of many parts lie beside is what is wanted next.
  constexpr std::size_t Ahead = 1 << 16;
  if (size > Ahead / 4) return read(m_ContentOffset + offset, size);
  if (offset < m_AheadOffset || offset - m_AheadOffset + size > m_Ahead.size()) {
    m_Ahead = read(m_ContentOffset + offset, std::min(Ahead, m_ContentSize - offset));
    m_AheadOffset = offset;
  }
  const auto first = m_Ahead.begin() + std::ptrdiff_t(offset - m_AheadOffset);
  return {first, first + std::ptrdiff_t(size)};
}

std::vector<unsigned char> Container::read(std::size_t offset, std::size_t size) {
  std::vector<unsigned char> bytes(size);
  m_File.seekg(std::streamoff(offset));
  m_File.read(reinterpret_cast<char*>(bytes.data()), std::streamsize(size));
  if (std::size_t(m_File.gcount()) != size) throw Refusal("the file was cut short while it was read");
  return bytes;
}

}  // namespace nubo::reader
