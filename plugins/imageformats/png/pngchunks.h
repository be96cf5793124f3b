// The chunks of a PNG file: how one is written, and those that say what a picture is before its pixels come.
#pragma once

#include <QByteArray>
#include <QIODevice>
#include <QImage>

namespace nubo::png {

// Writes a PNG file's signature and chunks to a device.
class ChunkStream {
 public:
  // `device` stays the caller's and must outlive the stream.
  explicit ChunkStream(QIODevice& device) : m_device(device) {}

  [[nodiscard]] bool writeSignature();
  // `type` has four letters. False if the device didn't take all of it.
  [[nodiscard]] bool write(const char* type, const char* data, size_t size);
  [[nodiscard]] bool write(const char* type, const QByteArray& data) {
    return write(type, data.constData(), size_t(data.size()));
  }

 private:
  bool put(const char* data, qint64 size) { return m_device.write(data, size) == size; }

  QIODevice& m_device;
};

// What comes before the pixels: size and layout, colour space or gamma (0: none), palette, offset, resolution, texts.
// `description` has the form that QImageIOHandler::Description has: paragraphs of "key: text". False if the device
// refused, or the image has a palette format without colours.
[[nodiscard]] bool writeHeader(ChunkStream& stream, const QImage& image, float gamma, const QString& description);

}  // namespace nubo::png
