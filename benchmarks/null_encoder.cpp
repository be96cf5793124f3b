// An encoder plug-in that drops its frames, for measuring all that comes before an encoder. Its file has a line for
// each chunk: the number of frames, and the monotonic clock's nanoseconds when it came.
#include <QIODevice>
#include <chrono>

#include "module_grab/video/encoder.h"
#include "module_grab/video/videoencoder.h"

namespace {

using nubo::grab::video::Encoder;
using nubo::grab::video::VideoEncoder;

class NullEncoder : public Encoder {
 protected:
  bool initEncoding() override { return mp_Device != nullptr; }
  bool encodeChunk(QIODevice* chunk, bool /*last*/) override {
    if (!chunk) return true;
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    const auto nanoseconds = std::chrono::duration_cast<std::chrono::nanoseconds>(now).count();
    const QByteArray frames = QByteArray::number(chunk->size() / (qint64(4) * m_Width * m_Height));
    return mp_Device->write(frames + ' ' + QByteArray::number(qint64(nanoseconds)) + '\n') > 0;
  }
  void finishEncoding() override {}
};

Encoder* createEncoder(void* /*userData*/) { return new NullEncoder; }

}  // namespace

extern "C" Q_DECL_EXPORT bool doRegister() {
  return VideoEncoder::getInstance()->registerEncoder(&createEncoder, QStringLiteral("null"),
                                                      QStringLiteral("Arrival times of dropped frames"), nullptr);
}
