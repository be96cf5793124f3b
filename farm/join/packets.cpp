#include <QFileInfo>
#include <cstring>
#include <optional>

#include "farm/join/join.h"
#include "plugins/video/av/demuxer.h"
#include "plugins/video/av/formats.h"
#include "plugins/video/av/fragments.h"
#include "plugins/video/av/muxer.h"

namespace nubo::farm {

using namespace grab::video::av;

namespace {

/// Whether a decoder that was set up for one goes on with the other.
bool areAlike(const AVCodecParameters& a, const AVCodecParameters& b) {
  return a.codec_id == b.codec_id && a.width == b.width && a.height == b.height && a.format == b.format &&
         a.extradata_size == b.extradata_size &&
         (a.extradata_size == 0 || std::memcmp(a.extradata, b.extradata, std::size_t(a.extradata_size)) == 0);
}

int rateOf(const Piece& piece, const AVStream& stream) {
  const AVRational rate = stream.avg_frame_rate.num > 0 ? stream.avg_frame_rate : stream.r_frame_rate;
  if (rate.num < 1 || rate.den < 1) throw Error(QStringLiteral("%1: has no frame rate").arg(piece.file));
  return int((rate.num + rate.den / 2) / rate.den);
}

/// As our encoder had them: some containers do not keep all that belongs into the new one's header.
CodecParameters parametersOf(const AVStream& stream, const char* action) {
  CodecParameters parameters(checkAllocated(avcodec_parameters_alloc()));
  check(avcodec_parameters_copy(parameters.get(), stream.codecpar), action);
  parameters->sample_aspect_ratio = {1, 1};
  if (av_dict_get(stream.metadata, "alpha_mode", nullptr, 0)) parameters->format = AV_PIX_FMT_YUVA420P;
  return parameters;
}

/// Of what an index must have room for.
struct Extent {
  qint64 frames = 0, bytes = 0;
};

/// Reads through all, so that a hole is noticed before anything is written, and the index gets the room it needs.
Extent measure(const Pieces& pieces, const Format& format) {
  Extent extent;
  const Packet packet(checkAllocated(av_packet_alloc()));
  for (const Piece& piece : pieces) {
    QFile file;
    open(file, piece);
    const QByteArray action = piece.file.toLocal8Bit();
    Demuxer input(&file, format.muxer, action.constData());
    qint64 frames = 0;
    for (; input.read(packet.get()); ++frames) av_packet_unref(packet.get());
    checkFrames(piece, frames);
    extent.frames += frames;
    extent.bytes += file.size();
  }
  return extent;
}

}  // namespace

qint64 joinPackets(const Pieces& pieces, const Format& format, QIODevice* target) {
  const Extent extent = measure(pieces, format);
  const QByteArray options =
      format.isFragmented ? wholeOptions(extent.frames, extent.bytes) : QByteArray(format.muxerOptions);
  std::optional<Muxer> output;
  CodecParameters parameters;
  const Packet packet(checkAllocated(av_packet_alloc()));
  int fps = 0;
  qint64 frames = 0;
  for (const Piece& piece : pieces) {
    QFile file;
    open(file, piece);
    const QByteArray action = piece.file.toLocal8Bit();
    Demuxer input(&file, format.muxer, action.constData());
    CodecParameters own = parametersOf(input.stream(), action.constData());
    if (!output) {
      fps = rateOf(piece, input.stream());
      parameters = std::move(own);
      output.emplace(target, format.muxer, options.constData(), *parameters, fps);
    } else if (!areAlike(*parameters, *own) || rateOf(piece, input.stream()) != fps) {
      throw Error(QStringLiteral("%1: is encoded otherwise than %2").arg(piece.file, pieces.first().file));
    }
    // Counted anew, since containers round the times of frames. None of our encoders changes their order.
    for (; input.read(packet.get()); ++frames) {
      packet->pts = packet->dts = frames;
      packet->duration = 1;
      output->write(packet.get(), {1, fps});
    }
  }
  output->finish();
  return frames;
}

}  // namespace nubo::farm
