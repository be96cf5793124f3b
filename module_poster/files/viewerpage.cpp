#include "module_poster/files/viewerpage.h"

#include <QCoreApplication>
#include <QFile>
#include <QUrl>

#include "module_poster/files/error.h"

namespace nubo::poster {

namespace {

const char Generator[] = "<meta name=\"generator\" content=\"nubo grabposter\">";
const char* const ViewerFiles[] = {"openseadragon.min.js", "openseadragon-LICENSE.txt"};

// Opened as a file, a page must not read other files: the description stands in the page, the tiles are plain pictures,
// and these may be drawn, but not handed to OpenGL. %1 to %7: generator, title, the background's colour, folder,
// suffix, tiles, size.
const char Page[] = R"(<!DOCTYPE html>
<html>
<head>
<meta charset="utf-8">
%1
<title>%2</title>
<style>
html, body, #poster { margin: 0; height: 100%; background: %3; }
p { margin: 0; padding: 1em; font-family: sans-serif; background: white; }
</style>
<script src="%4/openseadragon.min.js"></script>
</head>
<body>
<div id="poster"></div>
<script>
if (typeof OpenSeadragon === "undefined") {
  document.getElementById("poster").outerHTML =
    "<p>This page shows the poster with OpenSeadragon: put its openseadragon.min.js into the folder %4.</p>";
} else {
  OpenSeadragon({
    id: "poster",
    drawer: "canvas",
    showNavigationControl: false,
    showNavigator: true,
    maxZoomPixelRatio: 4,
    tileSources: { Image: {
      xmlns: "http://schemas.microsoft.com/deepzoom/2008",
      Url: "%4/", Format: "%5", Overlap: "0", TileSize: "%6", Size: %7
    } }
  });
}
</script>
</body>
</html>
)";

}  // namespace

QString suffixOf(Coding coding) { return coding == Coding::Jpeg ? QStringLiteral("jpg") : QStringLiteral("png"); }

QByteArray viewerPage(const Description& description, const QString& folderName) {
  const QString folder = QString::fromLatin1(QUrl::toPercentEncoding(folderName));
  return QString::fromUtf8(Page)
      .arg(QString::fromLatin1(Generator), folderName.chopped(int(sizeof("_files") - 1)).toHtmlEscaped(),
           description.format.background.name(), folder, suffixOf(description.format.coding),
           QString::number(description.edge),
           QStringLiteral("{ Width: \"%1\", Height: \"%2\" }")
               .arg(description.size.width())
               .arg(description.size.height()))
      .toUtf8();
}

bool isViewerPage(const QString& fileName) {
  QFile file(fileName);
  return file.open(QIODevice::ReadOnly) && file.read(1000).contains(Generator);
}

void copyViewer(const QString& folder) {
  for (const char* name : ViewerFiles) {
    QFile file(QStringLiteral("%1/viewer/%2").arg(QCoreApplication::applicationDirPath(), QLatin1String(name)));
    if (file.exists() && !file.copy(QStringLiteral("%1/%2").arg(folder, QLatin1String(name))))
      throw Error(file.errorString());
  }
}

}  // namespace nubo::poster
