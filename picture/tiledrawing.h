// Draws the global scene as a picture of any size, tile by tile.
#pragma once

#include <QSize>

#include "module_scene/math/matrix.h"
#include "picture/tiling.h"
#include "picture/visibility.h"

QT_BEGIN_NAMESPACE
class QImage;
QT_END_NAMESPACE

namespace nubo::picture {

/// Takes a picture's tiles as they are drawn. All is called on the thread that draws.
class NUBO_PICTURE_EXPORT TileReceiver {
 public:
  virtual ~TileReceiver();
  /// Asked before each tile; false ends the drawing.
  [[nodiscard]] virtual bool wantsMore() = 0;
  /// `pixels` hold straight alpha, whatever their format says, top row first.
  virtual void take(const Tile& tile, const QImage& pixels) = 0;
  /// The drawing ends early, and why.
  virtual void fail(const char* reason) = 0;
};

/// Draws the global scene under `transform` as a picture of that size, and of it the tiles in `rows`, row by row from
/// the bottom. Blocks; on the thread of a command, with a context that shares with the viewer's. The scene is locked
/// for all tiles, and progress is shown as "Building Picture". Without a root element nothing is drawn or said.
NUBO_PICTURE_EXPORT void drawTiles(QSize size, const math::Matrix4& transform, TileReceiver& receiver,
                                   const TileRows& rows = {});

}  // namespace nubo::picture
