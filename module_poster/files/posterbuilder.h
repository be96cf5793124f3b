// The way of a poster from drawn tiles into its file.
#pragma once

#include <deque>
#include <future>

#include "module_poster/files/pyramid.h"
#include "module_poster/files/tilesink.h"

namespace nubo::poster {

/// Puts together what is drawn, has it encoded on other threads, and gives it to the sink. One thread; throws Error.
class PosterBuilder {
 public:
  PosterBuilder(const Description& description, TileSink& sink, const QString& scratchFolder);
  ~PosterBuilder();
  PosterBuilder(const PosterBuilder&) = delete;
  PosterBuilder& operator=(const PosterBuilder&) = delete;

  /// Pixels of a level, Format_ARGB32 with straight alpha, wherever they lie.
  void add(int level, QPoint corner, const QImage& pixels);
  /// A tile that is encoded already.
  void put(const TileId& tile, const QByteArray& bytes);
  /// Waits until the sink has all that is complete.
  void finishTiles();
  /// Hands out what is not complete.
  void takeFragments(const std::function<void(const Fragment&)>& take) { m_Pyramid.takeFragments(take); }
  /// Tiles that the sink has been given.
  qint64 tiles() const { return m_Tiles; }

 private:
  struct Encoding {
    TileId tile;
    std::future<QByteArray> bytes;
  };

  void encode(const TileId& tile, const QImage& pixels);
  void finishOldest();

  Description m_Description;
  TileSink& m_Sink;
  Pyramid m_Pyramid;
  std::deque<Encoding> m_Encoding;
  qint64 m_Tiles = 0;
};

}  // namespace nubo::poster
