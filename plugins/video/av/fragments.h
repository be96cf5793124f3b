// Makes an ordinary MP4 file of one that was written in fragments.
#pragma once

#include <QString>

namespace nubo::grab::video::av {

/// Replaces the file, which nobody has open, by one whose index of all `frames` stands at the beginning. The file
/// stays as it is until the new one is complete. Throws Error.
void mergeFragments(const QString& fileName, qint64 frames, int fps);

}  // namespace nubo::grab::video::av
