// An encoder plug-in: records a video as a tar archive of numbered pictures, 00000.png, 00001.png, ... The user data of
// a registration chooses the pictures' format, so one class serves two file name extensions.
#define NUBO_LOG_SOURCE "picturearchive"

#include <QBuffer>
#include <QIODevice>
#include <QImage>

#include "kernel/log/logger.h"
#include "kernel/main/informationobject.h"
#include "module_grab/video/encoder.h"
#include "module_grab/video/videoencoder.h"

namespace {

using nubo::grab::video::Encoder;
using nubo::grab::video::VideoEncoder;

constexpr int BlockSize = 512;  // files in a tar archive are padded to whole blocks

/// The block that stands before a file's content.
QByteArray tarHeader(const QByteArray& name, int size) {
  QByteArray header(BlockSize, '\0');
  const auto put = [&header](int offset, const QByteArray& text) { header.replace(offset, text.size(), text); };
  put(0, name);
  put(100, "0000644");
  put(108, "0000000");
  put(116, "0000000");
  put(124, QByteArray::number(size, 8).rightJustified(11, '0'));
  put(136, "00000000000");
  put(148, "        ");  // what the checksum is to count for itself
  put(156, "0");
  put(257, QByteArray("ustar\00000", 8));
  unsigned checksum = 0;
  for (const char byte : header) checksum += static_cast<unsigned char>(byte);
  put(148, QByteArray::number(checksum, 8).rightJustified(6, '0') + '\0');
  return header;
}

class PictureArchive : public Encoder {
 public:
  explicit PictureArchive(const char* format) : m_Format(format) {}

 protected:
  bool initEncoding() override { return mp_Device != nullptr; }

  /// On the worker thread. The chunk can be null, stands at its end, and holds whole frames unless the recording
  /// was cut short by a full disk.
  bool encodeChunk(QIODevice* chunk, bool /*last*/) override {
    if (!chunk) return true;
    const qint64 frameSize = 4LL * m_Width * m_Height;
    chunk->seek(0);
    for (qint64 count = chunk->size() / frameSize; count > 0 && !m_Aborted; --count) {
      const QByteArray frame = chunk->read(frameSize);
      if (frame.size() != frameSize) {
        NUBO_LOG(nubo::log::Failure, "PictureArchive::encodeChunk", chunk->errorString());
        return false;
      }
      if (!addPicture(frame)) return false;
    }
    return true;
  }

  /// Two empty blocks end an archive. After an abort, or without an output, there is nothing to end.
  void finishEncoding() override {
    if (mp_Device && mp_Device->isOpen() && !m_Aborted) write(QByteArray(2 * BlockSize, '\0'));
  }

 private:
  bool addPicture(const QByteArray& frame) {
    // Blue, green, red, alpha in memory is what QImage calls ARGB32 on little-endian machines.
    const QImage picture(reinterpret_cast<const uchar*>(frame.constData()), m_Width, m_Height, QImage::Format_ARGB32);
    QByteArray content;
    QBuffer buffer(&content);
    buffer.open(QIODevice::WriteOnly);
    if (!picture.save(&buffer, m_Format)) {
      NUBO_LOG(nubo::log::Failure, "PictureArchive::addPicture",
               QStringLiteral("Cannot write the format %1").arg(m_Format));
      return false;
    }
    const QByteArray name = QByteArray::number(m_Count++).rightJustified(5, '0') + '.' + m_Format;
    const int padding = (BlockSize - content.size() % BlockSize) % BlockSize;
    return write(tarHeader(name, content.size())) && write(content) && write(QByteArray(padding, '\0'));
  }

  bool write(const QByteArray& data) {
    if (mp_Device->write(data) == data.size()) return true;
    NUBO_LOG(nubo::log::Failure, "PictureArchive::write", mp_Device->errorString());
    return false;
  }

  const char* m_Format;
  int m_Count = 0;
};

// User data lives as long as the plug-in is loaded.
char png[] = "png";
char jpg[] = "jpg";

Encoder* createEncoder(void* userData) { return new PictureArchive(static_cast<const char*>(userData)); }

}  // namespace

/// Called once after loading; false would say that the library cannot work here.
extern "C" Q_DECL_EXPORT bool doRegister() {
  VideoEncoder* registry = VideoEncoder::getInstance();
  const bool hasPng = registry->registerEncoder(&createEncoder, QStringLiteral("png.tar"),
                                                QStringLiteral("Archive of PNG pictures"), png);
  const bool hasJpg = registry->registerEncoder(&createEncoder, QStringLiteral("jpg.tar"),
                                                QStringLiteral("Archive of JPEG pictures"), jpg);
  return hasPng || hasJpg;
}

/// What the About box and `nubo --version` say of the library that this plug-in is built on.
extern "C" Q_DECL_EXPORT nubo::main::ThirdPartyInfos getInfos() {
  return {QStringLiteral("Qt image formats"), QString::fromLatin1(qVersion()), QStringLiteral("LGPL version 3"),
          QStringLiteral("https://www.qt.io")};
}
