// How a poster and its smaller versions are cut into the tiles of a file.
#pragma once

#include <QRect>
#include <QSize>
#include <tuple>

namespace nubo::poster {

/// A tile of a file. Level 0 is the poster itself; columns and rows are counted from the upper left.
struct TileId {
  int level;
  int column;
  int row;
  friend bool operator<(const TileId& a, const TileId& b) {
    return std::tie(a.level, a.row, a.column) < std::tie(b.level, b.row, b.column);
  }
};

/// Each level has half the pixels of the one above across and down, rounded up. Tiles have `edge` pixels, an even
/// number, across and down; the last column and row can be smaller.
class Layout {
 public:
  Layout(QSize size, int edge, int levels) : m_Size(size), m_Edge(edge), m_Levels(levels) {}

  /// As many levels as it takes until the last one is no larger than `end`.
  static int levelsUntil(QSize size, int end);

  int edge() const { return m_Edge; }
  int levels() const { return m_Levels; }
  QSize size(int level) const;
  int columns(int level) const { return tilesFor(size(level).width()); }
  int rows(int level) const { return tilesFor(size(level).height()); }
  /// Whether there is such a tile, or an area of pixels on such a level.
  bool has(const TileId& tile) const;
  bool has(int level, const QRect& area) const;
  /// Where a tile lies in its level.
  QRect area(const TileId& tile) const;
  /// The tiles of all levels.
  qint64 count() const;

 private:
  int tilesFor(int length) const { return (length - 1) / m_Edge + 1; }

  QSize m_Size;
  int m_Edge;
  int m_Levels;
};

}  // namespace nubo::poster
