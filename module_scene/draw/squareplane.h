// Squares of one size in a view, by the pixels in which they begin.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace nubo::scene {

/// A rectangle of pixels, counted from the view's lower left one.
struct PixelBounds {
  int left, right, low, high;  ///< all included
};

/// Keeps of all squares that begin in a pixel the one whose key is least, which stands for what is seen there: squares
/// of one size that begin alike hide each other wholly, so that none need be filled one by one. Keeps its memory from
/// one view to the next.
class SquarePlane {
 public:
  /// The bits of a number of double precision that is not negative: of these every processor finds the lesser of
  /// several at once, and they are ordered as the numbers are. From 2^61, for what is far smaller takes long.
  using Key = std::uint64_t;
  /// Where there is no square, and so more than any key.
  static constexpr Key Nothing = Key(1) << 62;

  /// A view of that many pixels with no square in it; `size`: pixels, of the first squares that will be put, which may
  /// reach into the view from outside, with their middles on its edge at most.
  void begin(int width, int height, int size);
  /// Of a pixel among all: the next one in its row is one further, and that in the next row columns() further.
  std::int32_t place(std::int32_t x, std::int32_t y) const { return (y + m_Border) * m_Columns + x + m_Border; }
  std::int32_t columns() const { return m_Columns; }
  /// A square whose lower left pixel is at that place. Any number of threads at once; what comes of it has no order.
  void put(std::int32_t place, Key key) {
    Key* const least = &m_Keys[std::size_t(place)];
    Key found = load(least);
    while (key < found && !__atomic_compare_exchange_n(least, &found, key, true, __ATOMIC_RELAXED, __ATOMIC_RELAXED))
      continue;
  }
  /// Whether no square with that key or a larger one shows that begins in one of these pixels, as far as they belong to
  /// the view. Also while others put some.
  bool isBefore(const PixelBounds& begun, Key key) const;
  /// Has each square be the smaller ones that it consists of. On all cores; nobody may put any meanwhile.
  void cutInto(int size);
  /// The least keys of the squares that begin in the pixels of a row, which are those that cover these once squares
  /// have the size 1.
  const Key* row(int y) const { return at(0, y); }

 private:
  // C++ has nothing of its own for numbers that are at times but not always shared, before C++20.
  static Key load(const Key* key) { return __atomic_load_n(key, __ATOMIC_RELAXED); }
  Key* at(int x, int y) const { return &m_Keys[std::size_t(place(x, y))]; }
  void spreadAlong(Key* row, int places, std::vector<Key>& before) const;
  void spreadUp(Key* columns, int count, int places) const;

  int m_Size = 1;  // of squares
  int m_Border = 0;
  int m_Columns = 0, m_Rows = 0;  // with the border on both sides
  std::size_t m_Capacity = 0;
  std::unique_ptr<Key[]> m_Keys;
};

}  // namespace nubo::scene
