#include "nubo/read/images.h"

#include <QBuffer>
#include <QDir>
#include <QFileInfo>
#include <QImageReader>
#include <QUrl>
#include <atomic>
#include <future>
#include <mutex>
#include <system_error>
#include <thread>

#include "nubo/read/pngpixels.h"

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

/// Reads pictures, on several threads, of which one at a time talks with the program.
class ImageReading {
 public:
  ImageReading(const std::string& modelFile, reader::Output& output)
      : m_ModelFile(QString::fromStdString(modelFile)), m_Output(output), m_Warnings(output.model.images.size()) {}

  /// Throws what a thread has thrown.
  void run() {
    const std::size_t threads = std::min<std::size_t>(std::thread::hardware_concurrency(), m_Warnings.size());
    std::vector<std::future<void>> others;
    try {
      while (others.size() + 1 < threads) others.push_back(std::async(std::launch::async, [this] { work(); }));
    } catch (const std::system_error&) {
      // Fewer threads do as well.
    }
    work();
    for (std::future<void>& other : others) other.get();
    for (const std::string& warning : m_Warnings)
      if (!warning.empty()) m_Output.warning(warning);
  }

 private:
  void work() {
    for (std::size_t number = m_Next++; number < m_Warnings.size(); number = m_Next++) {
      reader::Image& image = m_Output.model.images[number];
      if (!image.pixels.empty()) continue;
      if (image.name.empty()) image.name = image.file.empty() ? std::to_string(number + 1) : image.file;
      m_Warnings[number] = image.encoded.empty() ? readFile(image) : readEncoded(image);
      image.encoded = {};
      const std::lock_guard<std::mutex> lock(m_Talk);
      m_Output.progress(-1);
    }
  }

  // These return what is to be said about a picture.

  std::string readFile(reader::Image& image) {
    const QString found = findFile(m_ModelFile, QString::fromStdString(image.file));
    if (found.isEmpty()) return reader::text("the texture '%1' is missing", {image.name});
    QFile file(found);
    if (file.open(QIODevice::ReadOnly) && file.peek(4) == "\x89PNG") {
      const QByteArray bytes = file.readAll();
      if (readPng(reinterpret_cast<const std::uint8_t*>(bytes.data()), std::size_t(bytes.size()), image))
        return std::string();
    }
    QImageReader reader(found);
    return readPixels(reader, image, "the texture '%1' cannot be read: %2");
  }

  std::string readEncoded(reader::Image& image) {
    if (image.encoded.size() > std::size_t(std::numeric_limits<int>::max())) return std::string();
    if (readPng(image.encoded.data(), image.encoded.size(), image)) return std::string();
    QByteArray bytes =
        QByteArray::fromRawData(reinterpret_cast<const char*>(image.encoded.data()), int(image.encoded.size()));
    QBuffer buffer(&bytes);
    QImageReader reader(&buffer);
    return readPixels(reader, image, "the embedded texture '%1' cannot be read: %2");
  }

  bool readPng(const std::uint8_t* bytes, std::size_t size, reader::Image& image) {
    std::optional<PngPixels> png = PngPixels::of(bytes, size);
    if (!png) return false;
    takeRoom(image, png->width(), png->height());
    png->write(image.pixels.data());
    return true;
  }

  std::string readPixels(QImageReader& reader, reader::Image& image, const std::string& cannotBeRead) {
    const QSize size = reader.size();
    if (size.width() > MaxSide || size.height() > MaxSide)
      return reader::text(cannotBeRead, {image.name, "it is larger than " + std::to_string(MaxSide) + " pixels"});
    const QImage read = reader.read().convertToFormat(QImage::Format_RGBA8888);
    if (read.isNull() || read.width() > MaxSide || read.height() > MaxSide)
      return reader::text(cannotBeRead, {image.name, reader.errorString().toStdString()});
    takeRoom(image, std::uint32_t(read.width()), std::uint32_t(read.height()));
    const std::size_t line = std::size_t(image.width) * 4;
    for (int y = 0; y < read.height(); ++y)
      std::memcpy(image.pixels.data() + line * std::size_t(y), read.constScanLine(y), line);
    return std::string();
  }

  void takeRoom(reader::Image& image, std::uint32_t width, std::uint32_t height) {
    image.width = width;
    image.height = height;
    const std::lock_guard<std::mutex> lock(m_Talk);
    image.pixels = m_Output.array<std::uint8_t>(std::size_t(width) * height * 4);
  }

  const QString m_ModelFile;
  reader::Output& m_Output;
  std::mutex m_Talk;
  std::atomic<std::size_t> m_Next{0};
  std::vector<std::string> m_Warnings;  ///< per picture
};

}  // namespace

void readImages(const std::string& modelFile, reader::Output& output) { ImageReading(modelFile, output).run(); }

}  // namespace nubo::read
