#include "plugins/imageformats/png/pngchunks.h"

#include <libdeflate.h>

#include <QColorSpace>
#include <QMap>
#include <QtEndian>
#include <algorithm>
#include <memory>
#include <new>

#include "plugins/imageformats/png/pngrows.h"

namespace nubo::png {
namespace {

using Texts = QMap<QString, QString>;

QByteArray bigEndian(quint32 value) {
  QByteArray bytes(4, Qt::Uninitialized);
  qToBigEndian(value, bytes.data());
  return bytes;
}

QByteArray deflated(const QByteArray& bytes) {
  const std::unique_ptr<libdeflate_compressor, void (*)(libdeflate_compressor*)> compressor(
      libdeflate_alloc_compressor(9), &libdeflate_free_compressor);
  if (!compressor) throw std::bad_alloc();
  const size_t size = size_t(bytes.size());
  QByteArray result(int(libdeflate_zlib_compress_bound(compressor.get(), size)), Qt::Uninitialized);
  result.resize(
      int(libdeflate_zlib_compress(compressor.get(), bytes.constData(), size, result.data(), size_t(result.size()))));
  return result;
}

// As the format wants keywords: 1 to 79 printable Latin-1 characters, single spaces within. Empty if nothing is left.
QByteArray keyword(const QString& text) {
  QByteArray key = text.left(79).toLatin1();
  for (char& c : key) {
    const auto code = uchar(c);
    if (code < 0x20 || (code > 0x7e && code < 0xa1)) c = ' ';
  }
  return key.simplified();
}

bool needsUnicode(const QString& text) {
  return std::any_of(text.begin(), text.end(), [](QChar c) {
    const ushort code = c.unicode();
    return code > 0xff || (code < 0x20 && code != '\n') || (code > 0x7e && code < 0xa0);
  });
}

bool writeText(ChunkStream& stream, const QString& name, const QString& text) {
  constexpr int WorthDeflating = 40;
  const QByteArray key = keyword(name);
  if (key.isEmpty()) return true;
  const bool isDeflated = text.size() >= WorthDeflating;
  const QByteArray separator(1, '\0');
  if (!needsUnicode(text)) {
    const QByteArray value = text.toLatin1();
    if (isDeflated) return stream.write("zTXt", key + separator + separator + deflated(value));
    return stream.write("tEXt", key + separator + value);
  }
  // Readers end a text at its first NUL.
  QByteArray value = text.toUtf8();
  if (const int end = value.indexOf('\0'); end >= 0) value.truncate(end);
  const QByteArray flags = QByteArray(1, isDeflated ? '\1' : '\0') + separator;
  return stream.write("iTXt", key + separator + flags + separator + name.toUtf8().replace('\0', ' ') + separator +
                                  (isDeflated ? deflated(value) : value));
}

Texts textsOf(const QImage& image, const QString& description) {
  Texts texts;
  for (const QString& paragraph : description.split(QLatin1String("\n\n"))) {
    const int colon = paragraph.indexOf(QLatin1Char(':'));
    const int space = paragraph.indexOf(QLatin1Char(' '));
    if (colon >= 0 && (space < 0 || space > colon)) {
      const QString key = paragraph.left(colon);
      if (!key.trimmed().isEmpty()) texts.insert(key, paragraph.mid(colon + 2).simplified());
    } else if (!paragraph.trimmed().isEmpty()) {
      texts.insert(QStringLiteral("Description"), paragraph.simplified());
    }
  }
  for (const QString& key : image.textKeys())
    if (!key.isEmpty() && !texts.contains(key)) texts.insert(key, image.text(key));
  return texts;
}

bool writeColorSpace(ChunkStream& stream, QColorSpace space, float gamma) {
  if (!space.isValid()) {
    if (gamma == 0.f) return true;
    return stream.write("gAMA", bigEndian(quint32(qRound(100000.0 / double(gamma)))));
  }
  // An explicit gamma stands above the colour space's own.
  if (gamma != 0.f && !qFuzzyCompare(space.gamma(), 1.f / gamma))
    space = space.withTransferFunction(QColorSpace::TransferFunction::Gamma, 1.f / gamma);
  return stream.write("iCCP", QByteArrayLiteral("Custom") + QByteArray(2, '\0') + deflated(space.iccProfile()));
}

bool writePalette(ChunkStream& stream, const QImage& image) {
  const int count = qMin(256, image.colorCount());
  if (count == 0) return false;
  QByteArray colors, alphas;
  int transparent = 0;
  for (int i = 0; i < count; ++i) {
    const QRgb color = image.color(i);
    colors.append(char(qRed(color))).append(char(qGreen(color))).append(char(qBlue(color)));
    alphas.append(char(qAlpha(color)));
    if (qAlpha(color) < 255) transparent = i + 1;
  }
  return stream.write("PLTE", colors) && (transparent == 0 || stream.write("tRNS", alphas.left(transparent)));
}

bool writePlacement(ChunkStream& stream, const QImage& image) {
  const QPoint offset = image.offset();
  if (!offset.isNull() &&
      !stream.write("oFFs", bigEndian(quint32(offset.x())) + bigEndian(quint32(offset.y())) + QByteArray(1, '\0')))
    return false;
  const int x = qMax(0, image.dotsPerMeterX()), y = qMax(0, image.dotsPerMeterY());
  if (x == 0 && y == 0) return true;
  return stream.write("pHYs", bigEndian(quint32(x)) + bigEndian(quint32(y)) + QByteArray(1, '\1'));
}

}  // namespace

bool ChunkStream::writeSignature() { return put("\x89PNG\r\n\x1a\n", 8); }

bool ChunkStream::write(const char* type, const char* data, size_t size) {
  const QByteArray head = bigEndian(quint32(size)) + QByteArray(type, 4);
  uint32_t crc = libdeflate_crc32(0, type, 4);
  // An empty chunk has no data to point at, which libdeflate takes for the start of a new sum.
  if (size > 0) crc = libdeflate_crc32(crc, data, size);
  return put(head.constData(), head.size()) && put(data, qint64(size)) && put(bigEndian(crc).constData(), 4);
}

bool writeHeader(ChunkStream& stream, const QImage& image, float gamma, const QString& description) {
  const PixelLayout layout = PixelLayout::of(image);
  QByteArray header = bigEndian(quint32(image.width())) + bigEndian(quint32(image.height()));
  header.append(char(layout.bitDepth)).append(char(layout.colorType)).append(3, '\0');
  if (!stream.writeSignature() || !stream.write("IHDR", header)) return false;
  if (!writeColorSpace(stream, image.colorSpace(), gamma)) return false;
  if (layout.colorType == PixelLayout::Palette && !writePalette(stream, image)) return false;
  if (!writePlacement(stream, image)) return false;
  const Texts texts = textsOf(image, description);
  for (auto text = texts.begin(); text != texts.end(); ++text)
    if (!writeText(stream, text.key(), text.value())) return false;
  return true;
}

}  // namespace nubo::png
