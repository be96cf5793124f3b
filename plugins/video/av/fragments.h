// Makes an ordinary MP4 file of one that was written in fragments.
#pragma once

#include <QByteArray>
#include <QString>

namespace nubo::grab::video::av {

/// The muxer's options for an MP4 file that has room at its beginning for the index of so many frames.
QByteArray wholeOptions(qint64 frames, qint64 bytes);

/// Replaces the file, which nobody has open, by one whose index of all `frames` stands at the beginning. The file
/// stays as it is until the new one is complete. Throws Error.
void mergeFragments(const QString& fileName, qint64 frames, int fps);

}  // namespace nubo::grab::video::av
