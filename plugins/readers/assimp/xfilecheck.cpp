#include "plugins/readers/assimp/xfilecheck.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string_view>

#include "module_scene/io/reader/reader.h"

namespace nubo::reader {
namespace {

enum class Token { End, Word, Number, Open, Close };

/// A little-endian number of 2 or 4 bytes.
std::uint32_t numberAt(const char* bytes, std::size_t size) {
  std::uint32_t value = 0;
  for (std::size_t i = size; i-- > 0;) value = value << 8 | static_cast<unsigned char>(bytes[i]);
  return value;
}

constexpr std::size_t HeaderSize = 16;  // such as "xof 0303txt 0032"

/// The tokens of the text or the binary form; what stands between them is left out.
class Tokens {
 public:
  Tokens(std::string_view file) : m_Rest(file.substr(HeaderSize)) {
    m_IsBinary = file.substr(8, 4) == "bin ";
    m_FloatSize = file.substr(12, 4) == "0064" ? 8 : 4;
  }
  Token next() { return m_IsBinary ? nextBinary() : nextText(); }
  /// Of the last Word or Number.
  std::string_view text() const { return m_Text; }
  /// Takes a number, which may be of any kind.
  void skipNumber() {
    const Token token = next();
    if (token != Token::Number && token != Token::Word) throwDamaged();  // NaN is a word
  }
  std::uint32_t takeInteger() {
    std::uint32_t value = 0;
    if (next() != Token::Number) throwDamaged();
    if (m_IsBinary && m_IsInteger) return numberAt(m_Text.data(), 4);
    if (m_IsBinary || std::from_chars(m_Text.data(), m_Text.data() + m_Text.size(), value).ec != std::errc())
      throwDamaged();
    return value;
  }
  [[noreturn]] static void throwDamaged() {
    throw Refusal("the file is damaged: its faces or bones do not fit its vertices");
  }

 private:
  /// Nothing at all where less is left.
  std::string_view take(std::size_t size) {
    const std::string_view taken = m_Rest.substr(0, size <= m_Rest.size() ? size : 0);
    m_Rest.remove_prefix(size <= m_Rest.size() ? size : m_Rest.size());
    return taken;
  }
  std::uint32_t takeBinary(std::size_t size) {
    const std::string_view bytes = take(size);
    return bytes.empty() ? 0 : numberAt(bytes.data(), size);
  }

  Token nextText();
  Token nextBinary();

  std::string_view m_Rest, m_Text;
  bool m_IsBinary;
  std::size_t m_FloatSize;
  std::uint32_t m_Listed = 0;  ///< numbers that are left of a binary list
  bool m_IsInteger = false;    ///< whether these are integers
};

Token Tokens::nextText() {
  constexpr std::string_view Between(" \t\r\n\v\f;,\0", 9), Ends(" \t\r\n\v\f;,\0{}\"", 12);
  for (;;) {
    m_Rest.remove_prefix(std::min(m_Rest.find_first_not_of(Between), m_Rest.size()));
    if (m_Rest.empty()) return Token::End;
    if (m_Rest[0] != '#' && m_Rest.substr(0, 2) != "//") break;
    m_Rest.remove_prefix(std::min(m_Rest.find('\n'), m_Rest.size()));
  }
  if (m_Rest[0] == '{' || m_Rest[0] == '}') return take(1) == "{" ? Token::Open : Token::Close;
  if (m_Rest[0] == '"') {
    take(1);
    m_Text = take(std::min(m_Rest.find('"'), m_Rest.size()));
    take(1);
    return Token::Word;
  }
  m_Text = take(std::min(m_Rest.find_first_of(Ends), m_Rest.size()));
  return std::strchr("+-.0123456789", m_Text[0]) ? Token::Number : Token::Word;
}

Token Tokens::nextBinary() {
  enum { Name = 1, String, Integer, Guid = 5, IntegerList, FloatList, Open = 10, Close, Template = 31 };
  while (!m_Rest.empty()) {
    if (m_Listed > 0) {
      --m_Listed;
      m_Text = take(m_IsInteger ? 4 : m_FloatSize);
      return m_Text.empty() ? Token::End : Token::Number;
    }
    switch (const std::uint32_t token = takeBinary(2)) {
      case Name:
      case String:
        m_Text = take(takeBinary(4));
        if (token == String) take(2);  // a separator
        return Token::Word;
      case Integer:
      case IntegerList:
      case FloatList:
        m_IsInteger = token != FloatList;
        m_Listed = token == Integer ? 1 : takeBinary(4);
        break;
      case Guid:
        take(16);
        break;
      case Template:
        m_Text = "template";
        return Token::Word;
      case Open:
        return Token::Open;
      case Close:
        return Token::Close;
    }
  }
  return Token::End;
}

/// Of a mesh, or of its normals: vectors, and faces that name them. Returns the number of vectors.
std::uint32_t checkFaces(Tokens& tokens) {
  const std::uint32_t vectors = tokens.takeInteger();
  for (std::uint64_t i = 0; i < 3ull * vectors; ++i) tokens.skipNumber();
  for (std::uint32_t faces = tokens.takeInteger(); faces > 0; --faces)
    for (std::uint32_t corners = tokens.takeInteger(); corners > 0; --corners)
      if (tokens.takeInteger() >= vectors) Tokens::throwDamaged();
  return vectors;
}

void checkWeights(Tokens& tokens, std::uint32_t vertices) {
  tokens.skipNumber();  // the bone's name
  for (std::uint32_t weights = tokens.takeInteger(); weights > 0; --weights)
    if (tokens.takeInteger() >= vertices) Tokens::throwDamaged();
}

}  // namespace

void checkXFile(const std::string& fileName) {
  std::ifstream file(fileName, std::ios::binary);
  std::string bytes(HeaderSize, ' ');
  if (!file.read(bytes.data(), HeaderSize) || bytes.compare(0, 4, "xof ") != 0 || bytes.compare(9, 3, "zip") == 0)
    return;
  bytes.append(std::istreambuf_iterator<char>(file), {});
  const std::string_view content(bytes);
  Tokens tokens(content);
  std::uint32_t vertices = 0;
  for (Token token = tokens.next(); token != Token::End;) {
    const std::string_view type = token == Token::Word ? tokens.text() : std::string_view();
    token = tokens.next();
    if (token == Token::Word && !type.empty()) token = tokens.next();  // the object's name
    if (token != Token::Open) continue;
    if (type == "template")
      while (token != Token::Close && token != Token::End) token = tokens.next();
    else if (type == "Mesh")
      vertices = checkFaces(tokens);
    else if (type == "MeshNormals")
      checkFaces(tokens);
    else if (type == "SkinWeights")
      checkWeights(tokens, vertices);
  }
}

}  // namespace nubo::reader
