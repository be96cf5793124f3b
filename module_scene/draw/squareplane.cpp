#include "module_scene/draw/squareplane.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <vector>

#include "module_scene/mesh/parallel.h"

namespace nubo::scene {

namespace {

using Key = SquarePlane::Key;

/// Brings keys to all places up to so many further on, in few steps: each takes the least of four, which are as far
/// from each other as the steps before have brought them.
template <class Step>
void spread(int places, const Step& step) {
  for (int reached = 0; reached < places;) {
    const int once = reached + 1, left = places - reached;
    const std::array<int, 3> back{std::min(once, left), std::min(2 * once, left), std::min(3 * once, left)};
    step(back);
    reached += back[2];
  }
}

/// As the processor finds it of several at once.
Key lesser(Key a, Key b) {
  double one, other;
  std::memcpy(&one, &a, sizeof one);
  std::memcpy(&other, &b, sizeof other);
  const double least = one < other ? one : other;
  Key result;
  std::memcpy(&result, &least, sizeof result);
  return result;
}

/// Has each of so many keys be the least of itself and those at its place in three other rows.
void lower(Key* keys, const Key* a, const Key* b, const Key* c, std::ptrdiff_t count) {
  for (std::ptrdiff_t i = 0; i < count; ++i) keys[i] = lesser(lesser(a[i], keys[i]), lesser(b[i], c[i]));
}

}  // namespace

void SquarePlane::begin(int width, int height, int size) {
  m_Size = size;
  m_Border = size / 2 + 2;  // and what is rounded
  m_Columns = width + 2 * m_Border;
  m_Rows = height + 2 * m_Border;
  const std::size_t count = std::size_t(m_Columns) * std::size_t(m_Rows);
  if (count > m_Capacity) m_Keys.reset(new Key[count]);
  m_Capacity = std::max(m_Capacity, count);
  parallelRanges(count, [this](std::size_t first, std::size_t end, std::size_t) {
    std::fill(&m_Keys[first], &m_Keys[first] + (end - first), Nothing);
  });
}

bool SquarePlane::isBefore(const PixelBounds& begun, Key key) const {
  const int left = std::max(begun.left, -m_Border), right = std::min(begun.right, m_Columns - m_Border - 1);
  const int low = std::max(begun.low, -m_Border), high = std::min(begun.high, m_Rows - m_Border - 1);
  for (int y = low; y <= high; ++y)
    for (int x = left; x <= right; ++x)
      if (load(at(x, y)) >= key) return false;
  return true;
}

void SquarePlane::cutInto(int size) {
  const int places = m_Size - size;
  m_Size = size;
  if (places == 0) return;
  parallelRanges(
      std::size_t(m_Rows),
      [&](std::size_t first, std::size_t end, std::size_t) {
        std::vector<Key> before(std::size_t(m_Columns + places), Nothing);
        for (; first < end; ++first) spreadAlong(&m_Keys[first * std::size_t(m_Columns)], places, before);
      },
      WorthAThread / std::size_t(m_Columns) + 1);
  // Of so many columns at once, which the processor's cache holds while each step goes through them.
  constexpr int AtOnce = 64;
  parallelRanges(
      std::size_t((m_Columns + AtOnce - 1) / AtOnce),
      [&](std::size_t first, std::size_t end, std::size_t) {
        for (; first < end; ++first) {
          const int column = int(first) * AtOnce;
          spreadUp(&m_Keys[std::size_t(column)], std::min(AtOnce, m_Columns - column), places);
        }
      },
      WorthAThread / std::size_t(m_Rows * AtOnce) + 1);
}

/// `before`: memory for the row as it was before a step, with nothing in as many places before it.
void SquarePlane::spreadAlong(Key* row, int places, std::vector<Key>& before) const {
  Key* const copy = before.data() + places;
  spread(places, [&](const std::array<int, 3>& back) {
    std::copy_n(row, m_Columns, copy);
    lower(row, copy - back[0], copy - back[1], copy - back[2], m_Columns);
  });
}

/// Some columns, from the last row on, so that what is looked at is still as it was.
void SquarePlane::spreadUp(Key* columns, int count, int places) const {
  const auto row = [&](int y) { return columns + std::ptrdiff_t(std::max(y, 0)) * m_Columns; };
  spread(places, [&](const std::array<int, 3>& back) {
    for (int y = m_Rows - 1; y >= 0; --y) lower(row(y), row(y - back[0]), row(y - back[1]), row(y - back[2]), count);
  });
}

}  // namespace nubo::scene
