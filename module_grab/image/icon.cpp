#include "module_grab/image/icon.h"

#include <QCoreApplication>
#include <QImageReader>
#include <QPixmap>

namespace nubo::grab {

QIcon loadIcon(const QString& name) {
  if (!QCoreApplication::instance()) return QIcon();
  // Left to find out what the file is, Qt would load all its image plug-ins.
  QImageReader reader(QStringLiteral(":/module_grab/image/%1.png").arg(name), "png");
  reader.setAutoDetectImageFormat(false);
  return QIcon(QPixmap::fromImageReader(&reader));
}

}  // namespace nubo::grab
