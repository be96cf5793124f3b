// Asks for the name of a picture or video.
#pragma once

#include <QStringList>

#include "picture/visibility.h"

QT_BEGIN_NAMESPACE
class QFileDialog;
QT_END_NAMESPACE

namespace nubo::picture {

/// Offers files of the kinds in `filters`, in the folder that the settings hold under `directoryKey`; a name without a
/// suffix gets that one. The caller owns it. Application thread.
NUBO_PICTURE_EXPORT QFileDialog* newSaveDialog(const QString& title, const QStringList& filters, const QString& suffix,
                                               const QString& directoryKey);

}  // namespace nubo::picture
