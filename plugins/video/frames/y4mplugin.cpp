// The smallest useful encoder plug-in, as a pattern for others: YUV4MPEG2, uncompressed video that ffplay shows and
// most encoding programs read. Full resolution and range, colours as in JPEG (BT.601), no alpha.
//
// A library in plugins/video/ needs an encoder class, doRegister and, if it builds on a library worth naming,
// getInfos (which this one has no need of).
#include <QFileDevice>
#include <QVariant>
#include <QVector>

#include "kernel/log/logger.h"
#include "module_grab/video/encoder.h"
#include "module_grab/video/framecadence.h"
#include "module_grab/video/videoencoder.h"

namespace {

using nubo::grab::video::Encoder;
using nubo::grab::video::FrameCadence;
using nubo::grab::video::VideoEncoder;

class Y4mEncoder : public Encoder {
 protected:
  /// Called once, before the first chunk, with the output file open and its parameters set.
  bool initEncoding() override {
    if (!mp_Device) return false;
    if (m_Fps < 1) return fail(QStringLiteral("The frame rate is below 1"));
    m_Cadence = FrameCadence(m_Fps);
    return write(QStringLiteral("YUV4MPEG2 W%1 H%2 F%3:1 Ip A1:1 C444 XCOLORRANGE=FULL\n")
                     .arg(m_Width)
                     .arg(m_Height)
                     .arg(m_Fps)
                     .toLatin1());
  }

  /// Called for each chunk on a thread of its own. A chunk can be null, and stands at its end.
  bool encodeChunk(QIODevice* chunk, bool last) override {
    if (chunk && !encodeFrames(chunk)) return false;
    const qint64 end = chunk ? chunk->property(EndTimeProperty).toLongLong() : 0;
    return (!last || writeFrame(m_Cadence.finishAt(end))) && flush();
  }
  /// Called at the end in any case, also after a failure; here, nothing follows the last frame.
  void finishEncoding() override {}

 private:
  /// A free recording's frames have times: each is written when it is known how long it stands.
  bool encodeFrames(QIODevice* chunk) {
    const qint64 frameSize = 4LL * m_Width * m_Height;
    const auto times = chunk->property(FrameTimesProperty).value<QVector<qint64>>();
    chunk->seek(0);
    for (int i = 0; i < chunk->size() / frameSize && !m_Aborted; ++i) {
      const bool isTimed = i < times.size();
      if (isTimed && !writeFrame(m_Cadence.advanceTo(times[i]))) return false;
      const QByteArray frame = chunk->read(frameSize);
      if (frame.size() != frameSize) return fail(chunk->errorString());
      m_Frame = "FRAME\n" + converted(frame);
      if (!isTimed && !writeFrame(1)) return false;
    }
    return true;
  }

  /// The one that was read last.
  bool writeFrame(qint64 times) {
    for (; times > 0 && !m_Aborted; --times)
      if (!write(m_Frame)) return false;
    return true;
  }

  /// A disk that fills up takes a part of the data without a word, and gives its reason when it is asked to take the
  /// rest.
  bool write(const QByteArray& data) {
    qint64 written = 0;
    qint64 taken = 0;
    while (written < data.size() && (taken = mp_Device->write(data.constData() + written, data.size() - written)) > 0)
      written += taken;
    return written == data.size() || fail(mp_Device->errorString());
  }

  bool flush() {
    auto* file = qobject_cast<QFileDevice*>(mp_Device);
    return !file || file->flush() || file->flush() || fail(file->errorString());
  }

  static bool fail(const QString& reason) {
    NUBO_LOG(nubo::log::Failure, "Y4mEncoder::fail", reason);
    return false;
  }

  /// Three planes, Y, Cb and Cr, of interleaved blue, green, red and alpha.
  static QByteArray converted(const QByteArray& frame) {
    const int size = frame.size() / 4;
    QByteArray planes(3 * size, Qt::Uninitialized);
    const auto* pixel = reinterpret_cast<const unsigned char*>(frame.constData());
    auto* plane = reinterpret_cast<unsigned char*>(planes.data());
    for (int i = 0; i < size; ++i, pixel += 4) {
      const double y = 0.299 * pixel[2] + 0.587 * pixel[1] + 0.114 * pixel[0];
      plane[i] = clamp(y + 0.5);
      plane[i + size] = clamp((pixel[0] - y) / 1.772 + 128.5);
      plane[i + 2 * size] = clamp((pixel[2] - y) / 1.402 + 128.5);
    }
    return planes;
  }

  FrameCadence m_Cadence{1};
  QByteArray m_Frame;
};

Encoder* createEncoder(void* /*userData*/) { return new Y4mEncoder; }

}  // namespace

/// Called once after loading. False would say that the library cannot work here.
extern "C" Q_DECL_EXPORT bool doRegister() {
  return VideoEncoder::getInstance()->registerEncoder(&createEncoder, QStringLiteral("y4m"),
                                                      QStringLiteral("Uncompressed video (YUV4MPEG2)"), nullptr);
}
