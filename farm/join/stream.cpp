#include "farm/join/join.h"
#include "plugins/video/av/libav.h"

namespace nubo::farm {

using grab::video::av::Error;

namespace {

constexpr char FrameMark[] = "FRAME\n";
constexpr qint64 MarkSize = sizeof FrameMark - 1;

/// Bytes of a frame with as many samples of each of three colours as pixels, by a header that says "W640 H480".
qint64 frameSize(const QByteArray& header, const Piece& piece) {
  qint64 size = 3;
  int found = 0;
  for (const QByteArray& word : header.trimmed().split(' '))
    if (word.startsWith('W') || word.startsWith('H')) {
      size *= word.mid(1).toInt();
      ++found;
    }
  if (!header.startsWith("YUV4MPEG2 ") || !header.contains(" C444 ") || found != 2 || size <= 0)
    throw Error(QStringLiteral("%1: is no uncompressed video of ours").arg(piece.file));
  return size;
}

void write(QIODevice* target, const QByteArray& bytes) {
  if (target->write(bytes) != bytes.size()) throw Error(target->errorString());
}

/// Its length tells how many frames there are, so that a hole is noticed before anything is written.
QByteArray checkedHeader(QFile& file, const Piece& piece) {
  open(file, piece);
  const QByteArray header = file.readLine(1024);
  const qint64 each = MarkSize + frameSize(header, piece), rest = file.size() - header.size();
  if (rest % each != 0) throw Error(QStringLiteral("%1: its last frame is cut off").arg(piece.file));
  checkFrames(piece, rest / each);
  return header;
}

}  // namespace

qint64 joinStreams(const Pieces& pieces, QIODevice* target) {
  QByteArray common;
  for (const Piece& piece : pieces) {
    QFile file;
    const QByteArray header = checkedHeader(file, piece);
    if (common.isEmpty()) common = header;
    if (header != common)
      throw Error(QStringLiteral("%1: is encoded otherwise than %2").arg(piece.file, pieces.first().file));
  }
  write(target, common);
  qint64 frames = 0;
  for (const Piece& piece : pieces) {
    QFile file;
    const qint64 each = MarkSize + frameSize(checkedHeader(file, piece), piece);
    for (; !file.atEnd(); ++frames) {
      const QByteArray frame = file.read(each);
      if (frame.size() != each || !frame.startsWith(FrameMark))
        throw Error(QStringLiteral("%1: has no frame where one must be").arg(piece.file));
      write(target, frame);
    }
  }
  return frames;
}

}  // namespace nubo::farm
