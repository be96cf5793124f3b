#include "plugins/readers/assimp/smoothinggroups.h"

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <string_view>

namespace nubo::reader {
namespace {

enum Chunk : std::uint32_t {
  Main = 0x4D4D,
  Editor = 0x3D3D,
  Object = 0x4000,  ///< begins with a name
  Mesh = 0x4100,
  Faces = 0x4120,  ///< begins with their number, and eight bytes of each
  Groups = 0x4150
};

std::uint32_t numberAt(std::string_view bytes, std::size_t at, std::size_t size) {
  std::uint32_t number = 0;
  for (std::size_t i = 0; i < size; ++i) number |= std::uint32_t(std::uint8_t(bytes[at + i])) << (8 * i);
  return number;
}

/// Where the chunks within one begin, whose header is left out of `content`.
std::size_t beginOfParts(std::uint32_t kind, std::string_view content) {
  constexpr std::size_t CountSize = 2, FaceSize = 8;
  switch (kind) {
    case Main:
    case Editor:
    case Mesh:
      return 0;
    case Object:
      return content.find('\0') == std::string_view::npos ? content.size() : content.find('\0') + 1;
    case Faces:
      return content.size() < CountSize ? content.size() : CountSize + FaceSize * numberAt(content, 0, CountSize);
    default:
      return content.size();
  }
}

/// `depth`: how deep containers may be nested.
bool hasGroups(std::string_view chunks, int depth) {
  constexpr std::size_t HeaderSize = 6;
  while (depth > 0 && chunks.size() >= HeaderSize) {
    const std::uint32_t kind = numberAt(chunks, 0, 2);
    const std::size_t size = numberAt(chunks, 2, 4);
    if (kind == Groups) return true;
    if (size < HeaderSize) return false;
    const std::string_view content = chunks.substr(HeaderSize, size - HeaderSize);
    const std::size_t begin = beginOfParts(kind, content);
    if (begin < content.size() && hasGroups(content.substr(begin), depth - 1)) return true;
    chunks.remove_prefix(std::min(size, chunks.size()));
  }
  return false;
}

}  // namespace

bool hasSmoothingGroups(const std::string& file) {
  std::ifstream stream(file, std::ios::binary);
  const std::string bytes((std::istreambuf_iterator<char>(stream)), std::istreambuf_iterator<char>());
  constexpr int Depth = 6;  // of what is in the list above
  return hasGroups(bytes, Depth);
}

}  // namespace nubo::reader
