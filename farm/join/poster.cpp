#include "farm/join/join.h"
#include "module_poster/files/bandfile.h"
#include "module_poster/files/error.h"
#include "module_poster/files/joinbands.h"
#include "plugins/video/av/libav.h"

namespace nubo::farm {

namespace {

/// A piece's frames are here rows of tiles.
void checkRows(const Piece& piece) {
  const picture::TileRows rows = poster::BandReader(piece.file).rows();
  const int found = rows.last - rows.first + 1;
  if (piece.frames >= 0 && piece.frames != found)
    throw poster::Error(QStringLiteral("%1: has %2 rows of %3").arg(piece.file).arg(found).arg(piece.frames));
}

}  // namespace

bool isPoster(const QString& suffix) { return suffix == "tif" || suffix == "tiff" || suffix == "dzi"; }

qint64 joinPoster(const Pieces& pieces, const QString& target) {
  QStringList bands;
  try {
    for (const Piece& piece : pieces) {
      checkRows(piece);
      bands << piece.file;
    }
    return poster::joinBands(bands, target);
  } catch (const poster::Error& error) {
    throw grab::video::av::Error(error.text());
  }
}

}  // namespace nubo::farm
