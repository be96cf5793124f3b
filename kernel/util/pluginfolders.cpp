#include "kernel/util/pluginfolders.h"

#include <QDir>
#include <QFile>
#include <QStandardPaths>

namespace nubo::util {

QStringList furtherPluginFolders(const QString& kind) {
  QStringList roots{QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + QStringLiteral("/nubo")};
  roots += QFile::decodeName(qgetenv("NUBO_PLUGIN_PATH")).split(QDir::listSeparator(), Qt::SkipEmptyParts);
  QStringList folders;
  for (const QString& root : roots) folders << QDir(root).absoluteFilePath(kind);
  folders.removeDuplicates();
  return folders;
}

}  // namespace nubo::util
