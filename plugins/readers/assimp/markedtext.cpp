#include "plugins/readers/assimp/markedtext.h"

#include <cstdint>
#include <fstream>
#include <iterator>

namespace nubo::reader {
namespace {

void append(std::string& text, std::uint32_t code) {
  if (code < 0x80) {
    text += char(code);
    return;
  }
  const int further = code < 0x800 ? 1 : code < 0x10000 ? 2 : 3;
  constexpr unsigned Marks[]{0, 0xC0, 0xE0, 0xF0};
  text += char(Marks[further] | code >> 6 * further);
  for (int i = further; i-- > 0;) text += char(0x80 | (code >> 6 * i & 0x3F));
}

std::string fromUtf16(const std::string& bytes, bool isLittle) {
  const auto unit = [&](std::size_t at) {
    const auto first = std::uint8_t(bytes[at]), second = std::uint8_t(bytes[at + 1]);
    return std::uint32_t(isLittle ? first | second << 8 : first << 8 | second);
  };
  std::string text;
  text.reserve(bytes.size() / 2);
  for (std::size_t at = 2; at + 1 < bytes.size(); at += 2) {
    std::uint32_t code = unit(at);
    const bool isPair = code >= 0xD800 && code < 0xDC00 && at + 3 < bytes.size();
    if (isPair) code = 0x10000 + ((code & 0x3FF) << 10) + (unit(at += 2) & 0x3FF);
    append(text, code);
  }
  return text;
}

}  // namespace

std::string contentOfMarkedText(const std::string& fileName) {
  std::ifstream file(fileName, std::ios::binary);
  std::string mark(3, '\0');
  file.read(mark.data(), std::streamsize(mark.size()));
  const bool isUtf8 = mark == "\xEF\xBB\xBF", isLittle = mark.compare(0, 2, "\xFF\xFE") == 0;
  if (!isUtf8 && !isLittle && mark.compare(0, 2, "\xFE\xFF") != 0) return {};
  const std::string bytes = mark + std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
  return isUtf8 ? bytes.substr(mark.size()) : fromUtf16(bytes, isLittle);
}

}  // namespace nubo::reader
