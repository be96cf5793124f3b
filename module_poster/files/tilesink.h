// Where the tiles of a poster go.
#pragma once

#include <QByteArray>
#include <memory>
#include <tuple>

#include "module_poster/files/layout.h"
#include "module_poster/files/tilecoding.h"

namespace nubo::poster {

/// All that the files of a poster have to know of it.
struct Description {
  QSize size;
  int edge = 512;  ///< of tiles
  TileFormat format;
  double dotsPerInch = 0;  ///< 0: nobody has said

  bool isTiff() const { return format.coding == Coding::Deflate || format.coding == Coding::Zstd; }
  /// A TIFF has smaller versions until one tile holds all; a deep-zoom pyramid goes down to one pixel.
  Layout layout() const { return {size, edge, Layout::levelsUntil(size, isTiff() ? edge : 1)}; }
  friend bool operator==(const Description& a, const Description& b) {
    return std::tie(a.size, a.edge, a.format.coding, a.format.quality, a.format.background, a.dotsPerInch) ==
           std::tie(b.size, b.edge, b.format.coding, b.format.quality, b.format.background, b.dotsPerInch);
  }
};

/// Takes encoded tiles in any order. Without a commit nothing of it is left when it goes, and what stood under its name
/// is as it was. One thread; throws Error.
class TileSink {
 public:
  virtual ~TileSink();
  TileSink(const TileSink&) = delete;
  TileSink& operator=(const TileSink&) = delete;

  virtual void put(const TileId& tile, const QByteArray& bytes) = 0;
  /// All tiles are there: they take the place of what stood under the name.
  virtual void commit() = 0;

 protected:
  TileSink() = default;
};

/// A TIFF or a deep-zoom pyramid, as the description says, to be called `fileName`. Throws Error, also where something
/// else stands under one of the pyramid's names.
std::unique_ptr<TileSink> newSink(const Description& description, const QString& fileName);

}  // namespace nubo::poster
