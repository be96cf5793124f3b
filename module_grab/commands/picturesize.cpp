#include "module_grab/commands/picturesize.h"

#include <QBuffer>
#include <QImage>
#include <QImageReader>
#include <QImageWriter>

#include "module_grab/freememory.h"

namespace nubo::commands::grab {

namespace {

constexpr int BytesPerPixel = 4;
constexpr double Megabyte = 1e6;

/// Writers refuse what their format cannot hold, or make it smaller without a word.
bool keeps(const QByteArray& format, QSize size) {
  QImage image(size, QImage::Format_ARGB32);
  if (image.isNull()) return false;
  image.fill(Qt::transparent);
  QBuffer file;
  file.open(QIODevice::ReadWrite);
  if (!QImageWriter(&file, format).write(image)) return false;
  file.seek(0);
  const QSize kept = QImageReader(&file, format).size();
  return kept.isEmpty() || kept == size;  // not every reader knows
}

}  // namespace

double megabytesFor(const QString& suffix, int width, int height) {
  // Beside its pixels: a tile, its framebuffer and what is read back of it, and a piece of the file. WebP's library
  // makes copies of the whole picture.
  constexpr double WhileDrawing = 9, WebpBytesPerPixel = 19;
  const double bytes = BytesPerPixel + (suffix == QLatin1String("webp") ? WebpBytesPerPixel : 0);
  return double(width) * height * bytes / Megabyte + WhileDrawing;
}

QString whyNotPossible(const QString& suffix, int width, int height) {
  if (width < 2 || height < 2) return QObject::tr("Target picture (%1 x %2) size is to small!").arg(width).arg(height);
  const double needed = megabytesFor(suffix, width, height);
  const double free = double(nubo::grab::freeMemory()) / Megabyte;
  if (free > 0 && needed > free)
    return QObject::tr("A picture of %1 × %2 pixels takes %L3 MB of memory; %L4 MB are free.")
        .arg(width)
        .arg(height)
        .arg(needed, 0, 'f', 0)
        .arg(free, 0, 'f', 0);
  const QByteArray format = suffix.toLatin1();
  if (keeps(format, {width, 1}) && keeps(format, {1, height})) return QString();
  return QObject::tr(
             "A picture of %1 × %2 pixels does not fit into a “.%3” file; choose a smaller width, or another "
             "format.")
      .arg(width)
      .arg(height)
      .arg(suffix);
}

}  // namespace nubo::commands::grab
