// The file that a picture is written to.
#pragma once

#include <QString>

#include "module_grab/visibility.h"
#include "module_scene/graph/background.h"

QT_BEGIN_NAMESPACE
class QImage;
QT_END_NAMESPACE

namespace nubo::commands::grab {

/// Whether Qt has a writer for the file name's suffix, which must be in lower case.
[[nodiscard]] bool hasWritableSuffix(const QString& fileName);

/// Writes a picture in the format of the file's suffix, and leaves a file that stood there as it was until all of the
/// new one has arrived. `reason` says in one line, if anybody knows, why it could not be written. A picture that is
/// handed over is not copied. Any thread.
[[nodiscard]] bool writePicture(QImage picture, const scene::Background& background, const QString& fileName,
                                QString& reason);

}  // namespace nubo::commands::grab
