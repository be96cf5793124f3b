#include "module_poster/files/bandfile.h"

#include "module_poster/files/error.h"
#include "module_poster/files/writeall.h"

namespace nubo::poster {

namespace {

// Each record begins with its kind.
constexpr quint8 Tile = 1, Part = 2, End = 3;
const char Magic[] = "nubo poster band 1\n";

QDataStream& operator<<(QDataStream& stream, const Description& d) {
  return stream << d.size << qint32(d.edge) << qint32(d.format.coding) << qint32(d.format.quality)
                << d.format.background << d.dotsPerInch;
}

QDataStream& operator>>(QDataStream& stream, Description& d) {
  qint32 edge = 0, coding = 0, quality = 0;
  stream >> d.size >> edge >> coding >> quality >> d.format.background >> d.dotsPerInch;
  d.edge = edge;
  d.format.coding = Coding(coding);
  d.format.quality = quality;
  return stream;
}

bool isSound(const Description& d) {
  return d.size.width() > 0 && d.size.height() > 0 && d.edge > 1 && d.edge % 2 == 0 &&
         d.format.coding >= Coding::Deflate && d.format.coding <= Coding::Jpeg;
}

/// What the values become in a file.
template <class... Values>
QByteArray record(const Values&... values) {
  QByteArray bytes;
  QDataStream stream(&bytes, QIODevice::WriteOnly);
  stream.setVersion(QDataStream::Qt_5_15);
  (stream << ... << values);
  return bytes;
}

}  // namespace

BandFile::BandFile(const Description& description, const picture::TileRows& rows, const QString& fileName)
    : m_File(fileName) {
  if (!m_File.open(QIODevice::WriteOnly)) throw Error(m_File.errorString());
  writeAll(m_File, record(QByteArray(Magic), description, qint32(rows.first), qint32(rows.last)));
}

void BandFile::put(const TileId& tile, const QByteArray& bytes) {
  writeAll(m_File, record(Tile, qint32(tile.level), qint32(tile.column), qint32(tile.row), bytes));
}

void BandFile::put(const Fragment& fragment) {
  writeAll(m_File, record(Part, qint32(fragment.level), fragment.area, fragment.bytes));
}

void BandFile::commit() {
  writeAll(m_File, record(End));
  if (!m_File.commit()) throw Error(m_File.errorString());
}

BandReader::BandReader(const QString& fileName) : m_File(fileName) {
  if (!m_File.open(QIODevice::ReadOnly)) throw Error(QStringLiteral("%1: %2").arg(fileName, m_File.errorString()));
  m_Stream.setDevice(&m_File);
  m_Stream.setVersion(QDataStream::Qt_5_15);
  QByteArray magic;
  qint32 first = 0, last = 0;
  // Any other file would have it read as many bytes as its first ones say.
  if (m_File.peek(int(sizeof Magic) + 3).endsWith(Magic)) m_Stream >> magic >> m_Description >> first >> last;
  if (magic != Magic || m_Stream.status() != QDataStream::Ok || !isSound(m_Description)) fail();
  m_Rows = {first, last};
}

void BandReader::read(const std::function<void(const TileId&, const QByteArray&)>& takeTile,
                      const std::function<void(const Fragment&)>& takeFragment) {
  const Layout layout = m_Description.layout();
  for (quint8 kind = 0; kind != End;) {
    m_Stream >> kind;
    qint32 level = 0, column = 0, row = 0;
    QRect area;
    QByteArray bytes;
    if (kind == Tile) m_Stream >> level >> column >> row >> bytes;
    if (kind == Part) m_Stream >> level >> area >> bytes;
    const bool isInside =
        (kind != Tile || layout.has({level, column, row})) && (kind != Part || layout.has(level, area));
    if (m_Stream.status() != QDataStream::Ok || kind < Tile || kind > End || !isInside) fail();
    if (kind == Tile) takeTile({level, column, row}, bytes);
    if (kind == Part) takeFragment({level, area, bytes});
  }
}

void BandReader::fail() const {
  throw Error(QStringLiteral("%1: is no band of a poster, or not whole").arg(m_File.fileName()));
}

}  // namespace nubo::poster
