#include <QBuffer>
#include <optional>

#include "farm/join/join.h"
#include "plugins/video/av/demuxer.h"
#include "plugins/video/av/formats.h"
#include "plugins/video/av/pipeline.h"

namespace nubo::farm {

using namespace grab::video::av;

namespace {

/// Hands the raw frames of a lossless piece on, one after the other.
class Decoder {
 public:
  Decoder(QIODevice* device, const char* action) : m_Action(action), m_Input(device, "matroska", action) {
    const AVCodecParameters* parameters = m_Input.stream().codecpar;
    const AVCodec* decoder = avcodec_find_decoder(parameters->codec_id);
    if (parameters->codec_id != AV_CODEC_ID_FFV1 || !decoder) fail();
    m_Codec.reset(checkAllocated(avcodec_alloc_context3(decoder)));
    check(avcodec_parameters_to_context(m_Codec.get(), parameters), action);
    m_Codec->thread_count = 1;  // or it would hold frames back
    check(avcodec_open2(m_Codec.get(), decoder, nullptr), action);
  }

  const AVStream& stream() const { return m_Input.stream(); }
  /// A frame's rows, from the top. Empty at the end.
  QByteArray next() {
    if (!m_Input.read(m_Packet.get())) return {};
    check(avcodec_send_packet(m_Codec.get(), m_Packet.get()), m_Action);
    av_packet_unref(m_Packet.get());
    check(avcodec_receive_frame(m_Codec.get(), m_Frame.get()), m_Action);
    if (m_Frame->format != AV_PIX_FMT_BGRA) fail();
    QByteArray rows;
    rows.reserve(4 * m_Frame->width * m_Frame->height);
    for (int row = 0; row < m_Frame->height; ++row)
      rows.append(reinterpret_cast<const char*>(m_Frame->data[0] + qint64(row) * m_Frame->linesize[0]),
                  4 * m_Frame->width);
    return rows;
  }

 private:
  [[noreturn]] void fail() const {
    throw Error(QStringLiteral("%1: is no lossless video of ours").arg(QString::fromLocal8Bit(m_Action)));
  }

  const char* m_Action;
  Demuxer m_Input;
  CodecContext m_Codec;
  Packet m_Packet{checkAllocated(av_packet_alloc())};
  Frame m_Frame{checkAllocated(av_frame_alloc())};
};

}  // namespace

qint64 joinAnimation(const Pieces& pieces, const Format& format, QIODevice* target) {
  std::optional<Pipeline> pipeline;
  Picture picture{};
  qint64 total = 0;
  for (const Piece& piece : pieces) {
    QFile file;
    open(file, piece);
    const QByteArray action = piece.file.toLocal8Bit();
    Decoder decoder(&file, action.constData());
    const AVCodecParameters& parameters = *decoder.stream().codecpar;
    const AVRational rate = decoder.stream().avg_frame_rate;
    if (rate.num < 1 || rate.den < 1) throw Error(QStringLiteral("%1: has no frame rate").arg(piece.file));
    const Picture own{parameters.width, parameters.height, rate.num / rate.den, 0, false};
    if (!pipeline) {
      pipeline.emplace(format, own, target);
      picture = own;
    }
    if (own.width != picture.width || own.height != picture.height || own.fps != picture.fps)
      throw Error(QStringLiteral("%1: is encoded otherwise than %2").arg(piece.file, pieces.first().file));
    qint64 frames = 0;
    for (QByteArray raw = decoder.next(); !raw.isEmpty(); raw = decoder.next(), ++frames) {
      QBuffer buffer(&raw);
      buffer.open(QIODevice::ReadOnly);
      pipeline->readFrame(&buffer);
      pipeline->encodeFrame();
    }
    checkFrames(piece, frames);
    total += frames;
  }
  pipeline->drain();
  pipeline->finish();
  return total;
}

}  // namespace nubo::farm
