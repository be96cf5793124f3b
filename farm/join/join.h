// The ways in which pieces become one file.
#pragma once

#include <QIODevice>

#include "farm/join/pieces.h"

namespace nubo::grab::video::av {
struct Format;
}

namespace nubo::farm {

// All take pieces of one recording in their order, leave nothing at the target that can be relied on when they throw
// av::Error, and return the number of frames that they wrote.

/// Copies the encoded frames of pieces that have the target's format.
qint64 joinPackets(const Pieces& pieces, const grab::video::av::Format& format, QIODevice* target);
/// Copies uncompressed frames.
qint64 joinStreams(const Pieces& pieces, QIODevice* target);
/// Makes an animation, whose colours depend on all of its frames, of lossless pieces (Matroska, FFV1).
qint64 joinAnimation(const Pieces& pieces, const grab::video::av::Format& format, QIODevice* target);

/// Whether a file with that suffix is a poster.
bool isPoster(const QString& suffix);
/// Copies the encoded tiles of bands, and makes those that several share. What stood under the target's name stays
/// until the new poster is whole. Returns the number of tiles; throws av::Error.
qint64 joinPoster(const Pieces& pieces, const QString& target);

}  // namespace nubo::farm
