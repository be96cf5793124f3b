#include "nubo/cli/filecheck.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryFile>

namespace nubo::app {

QString whyNotWritable(const QString& fileName) {
  const QFileInfo file(fileName);
  if (fileName.isEmpty()) return QCoreApplication::translate("FileCheck", "a file name is wanted");
  if (fileName.endsWith('/') || file.isDir()) return QCoreApplication::translate("FileCheck", "is a directory");
  const QFileInfo directory(file.absolutePath());
  if (!directory.exists())
    return QCoreApplication::translate("FileCheck", "the directory %1 does not exist").arg(directory.filePath());
  if (!directory.isDir())
    return QCoreApplication::translate("FileCheck", "%1 is not a directory").arg(directory.filePath());
  // A pipe nobody reads would be waited for, and what is written into a device is lost.
  if (file.exists() && !file.isFile()) return QCoreApplication::translate("FileCheck", "is not an ordinary file");
  if (file.exists()) {
    QFile existing(fileName);
    return existing.open(QIODevice::ReadWrite) ? QString() : existing.errorString();
  }
  // Trying is the only way to know: rights alone don't tell of read-only file systems.
  QTemporaryFile trial(directory.filePath() + "/.nubo-XXXXXX");
  if (trial.open()) return QString();
  return QCoreApplication::translate("FileCheck", "cannot write into the directory %1: %2")
      .arg(directory.filePath(), trial.errorString());
}

}  // namespace nubo::app
