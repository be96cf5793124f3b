// The page that shows a deep-zoom pyramid.
#pragma once

#include <QByteArray>
#include <QString>

#include "module_poster/files/tilesink.h"

namespace nubo::poster {

/// What tile files are called, and the formats in a pyramid's description.
QString suffixOf(Coding coding);

/// Shows the tiles in the folder with that name beside it, which also holds the viewer; without that it says so.
QByteArray viewerPage(const Description& description, const QString& folderName);
bool isViewerPage(const QString& fileName);

/// Puts the viewer's script and its licence, which lie beside the program, into a folder, if they are there.
void copyViewer(const QString& folder);

}  // namespace nubo::poster
