// Makes a poster of its bands.
#pragma once

#include <QStringList>

namespace nubo::poster {

/// Copies the tiles that the bands hold, and makes only those that several share. What stood under the target's name
/// stays until the new one is whole. Returns the number of tiles; throws Error, naming the hole if there is one. Any
/// thread.
qint64 joinBands(const QStringList& bands, const QString& target);

}  // namespace nubo::poster
