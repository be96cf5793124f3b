// Draws the global scene into a picture of any size, tile by tile.
#pragma once

#include <QtGlobal>
#include <atomic>

#include "module_scene/math/matrix.h"

QT_BEGIN_NAMESPACE
class QImage;
QT_END_NAMESPACE

namespace nubo::commands::grab {

/// Fills `target`, whose size is the picture's, with the global scene under `transform`, in straight alpha. Blocks; on
/// the thread of a command, with a context that shares with the viewer's. The scene is locked for all tiles. Logs why
/// it ends early; what was drawn until then stays in the target. Between tiles it looks whether it is to `stop`, of
/// which nothing is logged.
void renderTiled(QImage* target, const math::Matrix<double, 4, 4>& transform, const std::atomic<bool>& stop);

}  // namespace nubo::commands::grab
