#include "plugins/imageformats/png/deflatejoint.h"

#include <QtEndian>
#include <algorithm>
#include <array>
#include <optional>

namespace nubo::png {
namespace {

constexpr int MaxCodeLength = 15;
constexpr int EndOfBlock = 256;

// Bits of a deflate stream by their position. What lies behind the end reads as zeros.
class BitCursor {
 public:
  // 8 bytes behind `size` must be readable, so that no peek needs a bound.
  BitCursor(const uint8_t* data, size_t size) : mp_data(data), m_end(size * 8) {}

  // At least 57 bits.
  uint64_t peek() const { return qFromLittleEndian<quint64>(mp_data + (m_position >> 3)) >> (m_position & 7); }
  unsigned take(int count) {
    const auto bits = unsigned(peek() & ((uint64_t(1) << count) - 1));
    skip(count);
    return bits;
  }
  void skip(size_t count) { m_position = std::min(m_position + count, m_end + 1); }
  void alignToByte() { skip(-m_position & 7); }
  size_t position() const { return m_position; }
  bool isPastEnd() const { return m_position > m_end; }

 private:
  const uint8_t* mp_data;
  size_t m_end;
  size_t m_position = 0;
};

enum class Symbol : uint8_t { Invalid, Literal, Length, End };

struct Step {
  uint8_t codeBits = 0;
  uint8_t allBits = 0;  // with the extra bits that follow the code
  Symbol symbol = Symbol::Invalid;
  uint8_t value = 0;  // of symbols below 256
};

// What to do for each value of the next bits; as wide as the longest code in use.
class StepTable {
 public:
  template <typename Describe>
  void build(const uint8_t* lengths, int count, Describe describe) {
    std::array<int, MaxCodeLength + 2> next{};
    int longest = 1;
    for (int i = 0; i < count; ++i) {
      ++next[lengths[i] + 1];
      longest = std::max<int>(longest, lengths[i]);
    }
    next[1] = 0;
    for (int length = 2; length <= MaxCodeLength; ++length) next[length] = (next[length] + next[length - 1]) << 1;
    m_mask = (1u << longest) - 1;
    m_steps.assign(m_mask + 1, Step{});
    for (int i = 0; i < count; ++i) {
      if (lengths[i] == 0) continue;
      Step step = describe(i);
      step.codeBits = lengths[i];
      step.allBits = uint8_t(step.allBits + lengths[i]);
      for (unsigned at = reversed(next[lengths[i]]++, lengths[i]); at <= m_mask; at += 1u << lengths[i])
        m_steps[at] = step;
    }
  }
  const Step& operator[](uint64_t bits) const { return m_steps[bits & m_mask]; }

 private:
  static unsigned reversed(int code, int length) {
    unsigned result = 0;
    for (int i = 0; i < length; ++i) result |= unsigned(code >> i & 1) << (length - 1 - i);
    return result;
  }

  std::vector<Step> m_steps;
  uint64_t m_mask = 0;
};

Step describeLiteralOrLength(int symbol) {
  if (symbol < EndOfBlock) return {0, 0, Symbol::Literal, uint8_t(symbol)};
  if (symbol == EndOfBlock) return {0, 0, Symbol::End, 0};
  const bool hasExtra = symbol >= 265 && symbol < 285;
  return {0, uint8_t(hasExtra ? (symbol - 261) / 4 : 0), Symbol::Length, 0};
}

Step describeDistance(int symbol) { return {0, uint8_t(symbol < 4 ? 0 : symbol / 2 - 1), Symbol::Literal, 0}; }

Step describeCodeLength(int symbol) { return {0, 0, Symbol::Literal, uint8_t(symbol)}; }

// Walks the blocks of a stream and remembers where the last one begins and ends.
class Walker {
 public:
  Walker(const uint8_t* data, size_t size) : m_bits(data, size) {}

  struct LastBlock {
    size_t begin;
    size_t end;
  };
  std::optional<LastBlock> findLastBlock() {
    while (!m_bits.isPastEnd()) {
      const size_t begin = m_bits.position();
      const bool isLast = m_bits.take(1);
      if (!skipBlock(m_bits.take(2)) || m_bits.isPastEnd()) return std::nullopt;
      if (isLast) return LastBlock{begin, m_bits.position()};
    }
    return std::nullopt;
  }

 private:
  bool skipBlock(unsigned type) {
    switch (type) {
      case 0:
        return skipStored();
      case 1:
        setFixedCodes();
        return skipSymbols();
      case 2:
        return readCodes() && skipSymbols();
      default:
        return false;
    }
  }

  bool skipStored() {
    m_bits.alignToByte();
    const unsigned size = m_bits.take(16);
    m_bits.skip(16 + size_t(size) * 8);
    return true;
  }

  bool skipSymbols() {
    while (!m_bits.isPastEnd()) {
      const uint64_t bits = m_bits.peek();
      const Step& step = m_literals[bits];
      if (step.symbol == Symbol::Invalid) return false;
      m_bits.skip(step.allBits);
      if (step.symbol == Symbol::End) return true;
      if (step.symbol == Symbol::Length) m_bits.skip(m_distances[bits >> step.allBits].allBits);
    }
    return false;
  }

  void setFixedCodes() {
    std::array<uint8_t, 288> lengths;
    std::fill_n(lengths.begin(), 144, 8);
    std::fill_n(lengths.begin() + 144, 112, 9);
    std::fill_n(lengths.begin() + 256, 24, 7);
    std::fill_n(lengths.begin() + 280, 8, 8);
    m_literals.build(lengths.data(), 288, describeLiteralOrLength);
    std::fill_n(lengths.begin(), 30, 5);
    m_distances.build(lengths.data(), 30, describeDistance);
  }

  bool readCodes() {
    const int literals = int(m_bits.take(5)) + 257;
    const int distances = int(m_bits.take(5)) + 1;
    const int codeLengths = int(m_bits.take(4)) + 4;
    constexpr uint8_t order[] = {16, 17, 18, 0, 8, 7, 9, 6, 10, 5, 11, 4, 12, 3, 13, 2, 14, 1, 15};
    std::array<uint8_t, 19> own{};
    for (int i = 0; i < codeLengths; ++i) own[order[i]] = uint8_t(m_bits.take(3));
    StepTable table;
    table.build(own.data(), 19, describeCodeLength);

    std::array<uint8_t, 288 + 32> lengths{};
    if (!readLengths(table, lengths.data(), literals + distances)) return false;
    m_literals.build(lengths.data(), literals, describeLiteralOrLength);
    m_distances.build(lengths.data() + literals, distances, describeDistance);
    return true;
  }

  bool readLengths(const StepTable& table, uint8_t* lengths, int count) {
    for (int i = 0; i < count;) {
      const Step& step = table[m_bits.peek()];
      if (step.symbol == Symbol::Invalid || m_bits.isPastEnd()) return false;
      m_bits.skip(step.codeBits);
      if (step.value < 16) {
        lengths[i++] = step.value;
        continue;
      }
      const uint8_t repeated = step.value == 16 && i > 0 ? lengths[i - 1] : 0;
      int times = step.value == 16   ? 3 + int(m_bits.take(2))
                  : step.value == 17 ? 3 + int(m_bits.take(3))
                                     : 11 + int(m_bits.take(7));
      while (times-- > 0 && i < count) lengths[i++] = repeated;
    }
    return true;
  }

  BitCursor m_bits;
  StepTable m_literals;
  StepTable m_distances;
};

}  // namespace

bool openEnd(std::vector<uint8_t>& stream) {
  const size_t size = stream.size();
  stream.insert(stream.end(), 8, 0);
  const auto last = Walker(stream.data(), size).findLastBlock();
  stream.resize(size);
  if (!last || (last->end + 7) / 8 != size) return false;

  stream[last->begin / 8] &= uint8_t(~(1u << last->begin % 8));
  // The three zeros that announce a stored block fit into what is left of the last byte, or take another.
  stream.resize((last->end + 3 + 7) / 8);
  stream.insert(stream.end(), {0x00, 0x00, 0xff, 0xff});
  return true;
}

}  // namespace nubo::png
