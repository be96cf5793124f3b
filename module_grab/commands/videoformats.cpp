#include "module_grab/commands/videoformats.h"

#include <QFileInfo>
#include <QObject>

#include "module_grab/video/videoencoder.h"

namespace nubo::commands::grab {

using nubo::grab::video::VideoEncoder;

QString whyNoEncoder(const QString& fileName) {
  const auto& formats = *VideoEncoder::getInstance()->getLoadableFiles();
  const QFileInfo file(fileName);
  if (formats.count(file.completeSuffix().toUpper()) > 0) return QString();
  QString text = QObject::tr("No encoder for file '%1' found").arg(fileName);
  if (formats.count(file.suffix().toUpper()) > 0)
    return text + QObject::tr("; all that follows the first dot of a name is its format: call it '%1.%2'")
                      .arg(file.completeBaseName().replace('.', '-'), file.suffix());
  QStringList known;
  for (const auto& [extension, description] : formats) known << extension.toLower();
  return known.isEmpty() ? text
                         : text + QObject::tr("; there are encoders for %1").arg(known.join(QStringLiteral(", ")));
}

QString suggestedSuffix() {
  const QString format = VideoEncoder::getInstance()->suggestedFormat();
  return format.isEmpty() ? format : QLatin1Char('.') + format;
}

}  // namespace nubo::commands::grab
