#include "module_poster/files/pyramid.h"

#include <cstring>
#include <utility>

#include "module_poster/files/error.h"
#include "module_poster/files/halve.h"
#include "module_poster/files/tilecoding.h"

namespace nubo::poster {

namespace {

qint64 pixelsIn(const QRect& area) { return qint64(area.width()) * area.height(); }

void paste(QImage& target, QPoint corner, const QImage& pixels) {
  for (int y = 0; y < pixels.height(); ++y)
    std::memcpy(target.scanLine(corner.y() + y) + std::ptrdiff_t(corner.x()) * int(sizeof(QRgb)),
                pixels.constScanLine(y), std::size_t(pixels.width()) * sizeof(QRgb));
}

}  // namespace

Pyramid::Pyramid(const Layout& layout, const QString& scratchFolder, TakeTile takeTile)
    : m_Layout(layout), m_Folder(scratchFolder), m_TakeTile(std::move(takeTile)) {}

void Pyramid::add(int level, QPoint corner, const QImage& pixels) {
  const QRect area(corner, pixels.size());
  const int edge = m_Layout.edge();
  for (int row = area.top() / edge; row <= area.bottom() / edge; ++row)
    for (int column = area.left() / edge; column <= area.right() / edge; ++column) {
      const TileId tile{level, column, row};
      const QRect part = area & m_Layout.area(tile);
      addPart(tile, part.topLeft(), part == area ? pixels : pixels.copy(part.translated(-corner)));
    }
}

void Pyramid::addPart(const TileId& tile, QPoint corner, const QImage& pixels) {
  const QRect whole = m_Layout.area(tile), area(corner, pixels.size());
  if (area == whole) {
    complete(tile, pixels);
    return;
  }
  Waiting& waiting = m_Waiting[tile];
  waiting.covered += pixelsIn(area);
  if (waiting.covered < pixelsIn(whole)) {
    waiting.parts.push_back({area, scratchFor(tile).keep(packed(pixels))});
    return;
  }
  if (waiting.covered > pixelsIn(whole)) throw Error(QStringLiteral("a part of the poster is there twice"));
  QImage assembled(whole.size(), QImage::Format_ARGB32);
  if (assembled.isNull()) throw Error(QStringLiteral("there is no memory left"));
  paste(assembled, corner - whole.topLeft(), pixels);
  for (const Part& part : waiting.parts)
    paste(assembled, part.area.topLeft() - whole.topLeft(),
          unpacked(scratchFor(tile).take(part.place), part.area.size()));
  m_Waiting.erase(tile);
  complete(tile, assembled);
}

void Pyramid::complete(const TileId& tile, const QImage& pixels) {
  m_TakeTile(tile, pixels);
  // Edges are even, so that four tiles become one.
  if (tile.level + 1 < m_Layout.levels()) add(tile.level + 1, m_Layout.area(tile).topLeft() / 2, halved(pixels));
}

/// Neighbouring rows have files of their own, so that one of them is empty again and again, and begins anew.
Scratch& Pyramid::scratchFor(const TileId& tile) {
  return m_Scratch.try_emplace({tile.level, tile.row % 2}, m_Folder).first->second;
}

void Pyramid::takeFragments(const std::function<void(const Fragment&)>& take) {
  for (const auto& [tile, waiting] : m_Waiting)
    for (const Part& part : waiting.parts) take({tile.level, part.area, scratchFor(tile).take(part.place)});
  m_Waiting.clear();
}

}  // namespace nubo::poster
