// Puts drawn tiles together to those of a file, and makes the smaller versions.
#pragma once

#include <QImage>
#include <functional>
#include <map>
#include <vector>

#include "module_poster/files/layout.h"
#include "module_poster/files/scratch.h"

namespace nubo::poster {

/// Pixels of a level that wait for their neighbours, `packed`.
struct Fragment {
  int level;
  QRect area;
  QByteArray bytes;
};

/// Takes pieces of a poster in any order, of any size and place, which together cover it once. Those of tiles that are
/// not complete wait on disk. What it holds in memory grows with the number of such tiles only. One thread; throws
/// Error.
class Pyramid {
 public:
  /// Takes each tile of each level once, when it is complete.
  using TakeTile = std::function<void(const TileId& tile, const QImage& pixels)>;

  Pyramid(const Layout& layout, const QString& scratchFolder, TakeTile takeTile);

  /// Format_ARGB32, straight alpha.
  void add(int level, QPoint corner, const QImage& pixels);
  /// Hands out all that waits, which then waits no more.
  void takeFragments(const std::function<void(const Fragment&)>& take);
  /// Whether all that was begun is complete.
  bool isComplete() const { return m_Waiting.empty(); }

 private:
  struct Part {
    QRect area;  ///< in the level
    Scratch::Place place;
  };
  struct Waiting {
    qint64 covered = 0;  ///< pixels
    std::vector<Part> parts;
  };

  void addPart(const TileId& tile, QPoint corner, const QImage& pixels);
  void complete(const TileId& tile, const QImage& pixels);
  Scratch& scratchFor(const TileId& tile);

  Layout m_Layout;
  QString m_Folder;
  TakeTile m_TakeTile;
  std::map<TileId, Waiting> m_Waiting;
  std::map<std::pair<int, int>, Scratch> m_Scratch;
};

}  // namespace nubo::poster
