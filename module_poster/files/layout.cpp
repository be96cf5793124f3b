#include "module_poster/files/layout.h"

#include <algorithm>

namespace nubo::poster {

int Layout::levelsUntil(QSize size, int end) {
  int levels = 1;
  for (qint64 side = std::max(size.width(), size.height()); side > end; side = (side + 1) / 2) ++levels;
  return levels;
}

QSize Layout::size(int level) const {
  const auto halved = [level](int length) { return int(((qint64(length) - 1) >> level) + 1); };
  return {halved(m_Size.width()), halved(m_Size.height())};
}

bool Layout::has(const TileId& tile) const {
  return tile.level >= 0 && tile.level < m_Levels && tile.column >= 0 && tile.column < columns(tile.level) &&
         tile.row >= 0 && tile.row < rows(tile.level);
}

bool Layout::has(int level, const QRect& area) const {
  return level >= 0 && level < m_Levels && QRect(QPoint(), size(level)).contains(area);
}

QRect Layout::area(const TileId& tile) const {
  const QSize whole = size(tile.level);
  const QPoint corner(tile.column * m_Edge, tile.row * m_Edge);
  return {corner, QSize(std::min(m_Edge, whole.width() - corner.x()), std::min(m_Edge, whole.height() - corner.y()))};
}

qint64 Layout::count() const {
  qint64 count = 0;
  for (int level = 0; level < m_Levels; ++level) count += qint64(columns(level)) * rows(level);
  return count;
}

}  // namespace nubo::poster
