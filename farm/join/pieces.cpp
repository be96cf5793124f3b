#include "farm/join/pieces.h"

#include <QDir>
#include <QFileInfo>

#include "plugins/video/av/libav.h"

namespace nubo::farm {

using grab::video::av::Error;

Pieces readList(const QString& file) {
  QFile list(file);
  const bool isInput = file == QLatin1String("-");
  if (!(isInput ? list.open(stdin, QIODevice::ReadOnly) : list.open(QIODevice::ReadOnly)))
    throw Error(QStringLiteral("%1: %2").arg(file, list.errorString()));
  const QDir folder = isInput ? QDir() : QFileInfo(file).dir();
  Pieces pieces;
  for (int number = 1;; ++number) {
    const QByteArray bytes = list.readLine();
    if (bytes.isEmpty()) break;  // a pipe does not know before that it is at its end
    const QString line = QString::fromLocal8Bit(bytes).remove('\n');
    if (line.isEmpty()) continue;
    const int tab = line.indexOf('\t');
    bool isNumber = false;
    const qint64 frames = line.left(tab).toLongLong(&isNumber);
    if (tab < 0 || !isNumber || frames < 1)
      throw Error(QStringLiteral("%1:%2: a line is a number of frames, a tab, and a file").arg(file).arg(number));
    pieces.push_back({folder.filePath(line.mid(tab + 1)), frames});
  }
  return pieces;
}

void open(QFile& file, const Piece& piece) {
  file.setFileName(piece.file);
  if (!file.open(QIODevice::ReadOnly)) throw Error(QStringLiteral("%1: %2").arg(piece.file, file.errorString()));
}

void checkFrames(const Piece& piece, qint64 found) {
  if (piece.frames >= 0 && piece.frames != found)
    throw Error(QStringLiteral("%1: has %2 frames of %3").arg(piece.file).arg(found).arg(piece.frames));
}

}  // namespace nubo::farm
