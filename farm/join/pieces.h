// The pieces of a recording, in their order.
#pragma once

#include <QFile>
#include <QStringList>
#include <QVector>

namespace nubo::farm {

struct Piece {
  QString file;
  qint64 frames = -1;  ///< that it must have; below 0: as many as it has
};

using Pieces = QVector<Piece>;

/// Reads a list: on each line the number of frames, a tab, and the file, relative to the list's folder. "-" is standard
/// input, with files relative to the current folder. Throws av::Error.
Pieces readList(const QString& file);

/// Opens a piece for reading. Throws av::Error.
void open(QFile& file, const Piece& piece);
/// Throws av::Error if the piece has not the frames that it must have.
void checkFrames(const Piece& piece, qint64 found);

}  // namespace nubo::farm
