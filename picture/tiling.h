// How a picture is cut into tiles, and what each tile sees of the picture's frustum.
#pragma once

#include <algorithm>
#include <cmath>
#include <limits>

namespace nubo::picture {

constexpr int LargestTile = 512;

/// The largest edge of a tile where OpenGL's textures may be so large; one that names no size has not been asked in
/// vain until it refuses a tile.
inline int tileEdge(int largestTexture) {
  return largestTexture < 1 ? LargestTile : std::min(largestTexture, LargestTile);
}

/// A part of a picture, in pixels.
struct Tile {
  int width;
  int height;
  int x0;  ///< of the tile's lower left corner, from the picture's lower left corner
  int y0;
  int targetRow;  ///< of the tile's top row, from the picture's top
};

/// Rows of tiles, both included, counted from the bottom; those beyond the picture count for nothing.
struct TileRows {
  int first = 0;
  int last = std::numeric_limits<int>::max();
};

/// Tiles that follow each other.
struct TileRange {
  int first;
  int count;
};

/// Cuts a picture of `width` x `height` pixels into tiles of at most `edge` x `edge`, numbered row by row
/// from the bottom. Tiles cover the picture exactly; only the last column and the top row can be smaller.
class TileGrid {
 public:
  TileGrid(int width, int height, int edge)
      : m_Width(width),
        m_Height(height),
        m_Edge(edge),
        m_Columns((width - 1 + edge) / edge),
        m_Rows((height - 1 + edge) / edge) {}

  int count() const { return m_Columns * m_Rows; }
  int rows() const { return m_Rows; }

  TileRange range(const TileRows& rows) const {
    const int first = std::min(rows.first, m_Rows);
    return {first * m_Columns, (std::max(std::min(rows.last, m_Rows - 1), first - 1) + 1 - first) * m_Columns};
  }

  Tile tile(int index) const {
    const int row = index / m_Columns;
    const int column = index % m_Columns;
    Tile tile{};
    tile.x0 = column * m_Edge;
    tile.y0 = row * m_Edge;
    tile.width = column < m_Columns - 1 ? m_Edge : m_Width - tile.x0;
    tile.height = row < m_Rows - 1 ? m_Edge : m_Height - tile.y0;
    tile.targetRow = m_Height - tile.y0 - tile.height;
    return tile;
  }

 private:
  int m_Width;
  int m_Height;
  int m_Edge;
  int m_Columns;
  int m_Rows;
};

/// A window in the near plane.
struct Frustum {
  double left;
  double right;
  double bottom;
  double top;
};

/// The window of a whole picture: a vertical opening angle of 18/70 pi radians, and square pixels.
inline Frustum pictureFrustum(int width, int height, double zNear) {
  constexpr double HalfAngle = 0.40391905546154483;
  const double h = std::tan(HalfAngle) * zNear;
  return {double(width) * -h / double(height), double(width) * h / double(height), -h, h};
}

/// The part of the picture's window that a tile shows. The order of operations is fixed, so that the edges of
/// neighbouring tiles meet.
inline Frustum tileFrustum(const Tile& tile, const Frustum& picture, int width, int height) {
  Frustum part{};
  part.left = tile.x0 * (picture.right - picture.left) / width + picture.left;
  part.right = tile.width * (picture.right - picture.left) / width + part.left;
  part.bottom = tile.y0 * (picture.top - picture.bottom) / height + picture.bottom;
  part.top = tile.height * (picture.top - picture.bottom) / height + part.bottom;
  return part;
}

}  // namespace nubo::picture
