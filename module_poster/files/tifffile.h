// Posters as tiled BigTIFF files.
#pragma once

#include <QSaveFile>
#include <vector>

#include "module_poster/files/scratch.h"
#include "module_poster/files/tilesink.h"

struct tiff;

namespace nubo::poster {

/// The poster is the file's first directory, its tiles in the order in which they came; the smaller versions are the
/// following ones, each marked as such, which is what programs for images and maps look for.
class TiffFile : public TileSink {
 public:
  TiffFile(const Description& description, const QString& fileName);
  ~TiffFile() override;
  void put(const TileId& tile, const QByteArray& bytes) override;
  void commit() override;

 private:
  class Device;

  void describe(int level);
  void write(const TileId& tile, QByteArray bytes);
  [[noreturn]] void fail() const;

  Description m_Description;
  Layout m_Layout;
  QSaveFile m_File;
  std::unique_ptr<Device> mp_Device;
  std::unique_ptr<tiff, void (*)(tiff*)> mp_Tiff;
  Scratch m_Scratch;
  std::vector<std::vector<Scratch::Place>> m_Smaller;  ///< the tiles of all levels but the first, row by row
};

}  // namespace nubo::poster
