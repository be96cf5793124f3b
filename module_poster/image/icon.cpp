#include "module_poster/image/icon.h"

#include <QCoreApplication>
#include <QImageReader>
#include <QPixmap>

namespace nubo::poster {

QIcon loadIcon() {
  if (!QCoreApplication::instance()) return QIcon();
  // Left to find out what the file is, Qt would load all its image plug-ins.
  QImageReader reader(QStringLiteral(":/module_poster/image/grabposter.png"), "png");
  reader.setAutoDetectImageFormat(false);
  return QIcon(QPixmap::fromImageReader(&reader));
}

}  // namespace nubo::poster
