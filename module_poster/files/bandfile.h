// A part of a poster, made by one of several calls, as a file.
#pragma once

#include <QDataStream>
#include <QSaveFile>
#include <functional>

#include "module_poster/files/pyramid.h"
#include "module_poster/files/tilesink.h"
#include "picture/tiling.h"

namespace nubo::poster {

/// Holds the encoded tiles that the band completes, and the pixels of those that it shares with its neighbours. Its end
/// says that it is whole.
class BandFile : public TileSink {
 public:
  BandFile(const Description& description, const picture::TileRows& rows, const QString& fileName);
  void put(const TileId& tile, const QByteArray& bytes) override;
  void put(const Fragment& fragment);
  void commit() override;

 private:
  QSaveFile m_File;
};

/// Reads a band; throws Error, in the constructor also if the file is none.
class BandReader {
 public:
  explicit BandReader(const QString& fileName);

  const Description& description() const { return m_Description; }
  /// The rows of drawn tiles, counted from the bottom.
  const picture::TileRows& rows() const { return m_Rows; }
  /// Hands out all that is in it, in the order in which it was put there.
  void read(const std::function<void(const TileId&, const QByteArray&)>& takeTile,
            const std::function<void(const Fragment&)>& takeFragment);

 private:
  [[noreturn]] void fail() const;

  QFile m_File;
  QDataStream m_Stream;
  Description m_Description;
  picture::TileRows m_Rows;
};

}  // namespace nubo::poster
