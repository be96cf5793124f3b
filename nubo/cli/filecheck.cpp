#include "nubo/cli/filecheck.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
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

QString freeName(const QString& fileName) {
  static const QRegularExpression number(QStringLiteral("-(\\d{1,6})$"));
  constexpr int Most = 1000000;
  const QFileInfo file(fileName);
  QString base = file.completeBaseName();
  const QRegularExpressionMatch match = number.match(base);
  int next = match.hasMatch() ? match.captured(1).toInt() : 1;
  if (match.hasMatch()) base.chop(match.capturedLength());
  QString path = file.filePath();
  while (QFileInfo::exists(path) && !QFileInfo(path).isDir() && next < Most)
    path = file.dir().filePath(QStringLiteral("%1-%2.%3").arg(base).arg(++next).arg(file.suffix()));
  return path;
}

}  // namespace nubo::app
