#include "nubo/read/images.h"

#include <QBuffer>
#include <QDir>
#include <QFileInfo>
#include <QImageReader>
#include <QUrl>

namespace nubo::read {
namespace {

constexpr int MaxSide = 16384;

/// A file of this name in the folder, in any case if not in this one; empty if there is none.
QString findInFolder(const QDir& folder, const QString& name) {
  const QFileInfo exact(folder.filePath(name));
  if (exact.isFile()) return exact.filePath();
  const QFileInfoList others = exact.dir().entryInfoList(QDir::Files);
  for (const QFileInfo& other : others)
    if (other.fileName().compare(exact.fileName(), Qt::CaseInsensitive) == 0) return other.filePath();
  return QString();
}

/// Names come with the separators, the case and the folders of the machine that they were written on.
QString findFile(const QString& modelFile, const QString& name) {
  const QDir folder = QFileInfo(modelFile).dir();
  QString path = name.startsWith(QLatin1String("file:")) ? QUrl(name).toLocalFile() : name;
  path.replace(QLatin1Char('\\'), QLatin1Char('/'));
  const QString decoded = QUrl::fromPercentEncoding(path.toUtf8());
  for (const QString& candidate : {path, decoded}) {
    for (const QString& place : {candidate, QFileInfo(candidate).fileName()}) {
      if (place.isEmpty()) continue;
      const QString found = findInFolder(folder, place);
      if (!found.isEmpty()) return found;
    }
  }
  return QString();
}

void readPixels(QImageReader& reader, reader::Image& image, const std::string& cannotBeRead, reader::Output& output) {
  const QSize size = reader.size();
  if (size.width() > MaxSide || size.height() > MaxSide) {
    output.warning(
        reader::text(cannotBeRead, {image.name, "it is larger than " + std::to_string(MaxSide) + " pixels"}));
    return;
  }
  const QImage read = reader.read().convertToFormat(QImage::Format_RGBA8888);
  if (read.isNull() || read.width() > MaxSide || read.height() > MaxSide) {
    output.warning(reader::text(cannotBeRead, {image.name, reader.errorString().toStdString()}));
    return;
  }
  image.width = std::uint32_t(read.width());
  image.height = std::uint32_t(read.height());
  const std::size_t line = std::size_t(image.width) * 4;
  image.pixels = output.array<std::uint8_t>(line * image.height);
  for (int y = 0; y < read.height(); ++y)
    std::memcpy(image.pixels.data() + line * std::size_t(y), read.constScanLine(y), line);
}

void readFile(const QString& modelFile, reader::Image& image, reader::Output& output) {
  const QString found = findFile(modelFile, QString::fromStdString(image.file));
  if (found.isEmpty()) return output.warning(reader::text("the texture '%1' is missing", {image.name}));
  QImageReader reader(found);
  readPixels(reader, image, "the texture '%1' cannot be read: %2", output);
}

void readEncoded(reader::Image& image, reader::Output& output) {
  if (image.encoded.size() > std::size_t(std::numeric_limits<int>::max())) return;
  QByteArray bytes =
      QByteArray::fromRawData(reinterpret_cast<const char*>(image.encoded.data()), int(image.encoded.size()));
  QBuffer buffer(&bytes);
  QImageReader reader(&buffer);
  readPixels(reader, image, "the embedded texture '%1' cannot be read: %2", output);
}

}  // namespace

void readImages(const std::string& modelFile, reader::Output& output) {
  const QString fileName = QString::fromStdString(modelFile);
  std::size_t number = 0;
  for (reader::Image& image : output.model.images) {
    ++number;
    if (!image.pixels.empty()) continue;
    if (image.name.empty()) image.name = image.file.empty() ? std::to_string(number) : image.file;
    if (!image.encoded.empty())
      readEncoded(image, output);
    else
      readFile(fileName, image, output);
    image.encoded = {};
    output.progress(-1);
  }
}

}  // namespace nubo::read
