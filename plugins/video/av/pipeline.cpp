#include "plugins/video/av/pipeline.h"

#include <QByteArrayList>
#include <QIODevice>
#include <QThread>
#include <algorithm>
#include <limits>

#include "plugins/video/av/formats.h"

extern "C" {
#include <libavutil/pixdesc.h>
}

namespace nubo::grab::video::av {

namespace {

constexpr const char* action = "Couldn't encode frames";

/// Leaves one core to the thread that grabs. Codecs hold frames back for their threads, so that tests set a number.
int threadCount() {
  const int wanted = qEnvironmentVariableIntValue("NUBO_VIDEO_THREADS");
  return wanted > 0 ? wanted : std::max(1, QThread::idealThreadCount() - 1);
}

/// GIF has no place for these; RGB formats keep the bytes of the raw frames.
void setColours(AVCodecContext* codec) {
  const auto flags = av_pix_fmt_desc_get(codec->pix_fmt)->flags;
  if (flags & AV_PIX_FMT_FLAG_PAL) return;
  const bool isRgb = flags & AV_PIX_FMT_FLAG_RGB;
  codec->color_primaries = AVCOL_PRI_BT709;
  codec->color_trc = AVCOL_TRC_BT709;
  codec->colorspace = isRgb ? AVCOL_SPC_RGB : AVCOL_SPC_BT709;
  codec->color_range = isRgb ? AVCOL_RANGE_JPEG : AVCOL_RANGE_MPEG;
  if (!isRgb) codec->chroma_sample_location = AVCHROMA_LOC_LEFT;
}

/// Some encoders write the colours of the codec into their stream, some those of each frame.
void setColours(AVFrame* frame, const AVCodecContext* codec) {
  frame->color_primaries = codec->color_primaries;
  frame->color_trc = codec->color_trc;
  frame->colorspace = codec->colorspace;
  frame->color_range = codec->color_range;
  frame->chroma_location = codec->chroma_sample_location;
}

/// Peaks may reach twice the target within a second, so that a file can be streamed.
void setBitrate(AVCodecContext* codec, int bitrate) {
  codec->bit_rate = bitrate;
  if (codec->codec_id != AV_CODEC_ID_H264) return;
  const int peak = static_cast<int>(std::min<qint64>(2LL * bitrate, std::numeric_limits<int>::max()));
  codec->rc_max_rate = peak;
  codec->rc_buffer_size = peak;
}

CodecContext openCodec(const Format& format, const Picture& picture, AVPixelFormat pixelFormat, AVRational timeBase) {
  const AVCodec* encoder = avcodec_find_encoder_by_name(format.codec);
  if (!encoder) throw Error(QStringLiteral("The installed FFmpeg has no encoder \"%1\"").arg(format.codec));
  CodecContext codec(checkAllocated(avcodec_alloc_context3(encoder)));
  codec->width = picture.width;
  codec->height = picture.height;
  codec->pix_fmt = pixelFormat;
  codec->sample_aspect_ratio = {1, 1};
  codec->time_base = timeBase;
  codec->framerate = {picture.fps, 1};
  codec->gop_size = 2 * picture.fps;  // a place to seek to every two seconds
  codec->thread_count = threadCount();
  if (wantsGlobalHeader(format.muxer)) codec->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
  codec->bit_rate = 0;  // not what FFmpeg takes for a bit rate that nobody has chosen
  if (format.qualityOptions && picture.isBitrateChosen) setBitrate(codec.get(), picture.bitrate);
  setColours(codec.get());
  QByteArrayList texts{format.codecOptions};
  if (format.qualityOptions && !picture.isBitrateChosen) texts << format.qualityOptions;
  texts.removeAll(QByteArray(""));
  Options settings(texts.join(':').constData());
  check(avcodec_open2(codec.get(), encoder, &settings), "Couldn't open the codec");
  settings.checkAllUsed();
  return codec;
}

CodecParameters parametersOf(const AVCodecContext* codec) {
  CodecParameters parameters(checkAllocated(avcodec_parameters_alloc()));
  check(avcodec_parameters_from_context(parameters.get(), codec), action);
  return parameters;
}

Frame rawFrame(const Picture& picture) {
  Frame frame(checkAllocated(av_frame_alloc()));
  frame->format = AV_PIX_FMT_BGRA;
  frame->width = picture.width;
  frame->height = picture.height;
  frame->sample_aspect_ratio = {1, 1};
  check(av_frame_get_buffer(frame.get(), 0), "Couldn't allocate");
  return frame;
}

/// The picture as the format can have it.
Picture fitted(const Format& format, Picture picture) {
  if (picture.width < 1 || picture.height < 1) throw Error(QStringLiteral("The frames are empty"));
  if (picture.fps < 1) throw Error(QStringLiteral("The frame rate is below 1"));
  if (format.maxFps != 0 && picture.fps > format.maxFps)
    throw Error(QStringLiteral("A .%1 file has room for at most %2 frames per second")
                    .arg(QLatin1String(format.extension))
                    .arg(format.maxFps));
  if (format.shownFps != 0) picture.fps = std::min(picture.fps, format.shownFps);
  return picture;
}

QByteArray filterFor(const Format& format, const Picture& picture) {
  constexpr double Memory = 256 << 20, BytesPerPixel = 3;
  const double frames = Memory / BytesPerPixel / picture.width / picture.height;
  return QByteArray(format.filter).replace("HELD_FRAMES", QByteArray::number(std::max(1, static_cast<int>(frames))));
}

}  // namespace

Pipeline::Pipeline(const Format& format, const Picture& wanted, QIODevice* device)
    : Pipeline(device, format, fitted(format, wanted)) {}

Pipeline::Pipeline(QIODevice* device, const Format& format, const Picture& picture)
    : m_Format(format),
      m_Filter(filterFor(format, picture), picture.width, picture.height, picture.fps, threadCount()),
      m_Codec(openCodec(format, picture, m_Filter.pixelFormat(), m_Filter.timeBase())),
      m_Muxer(device, format.muxer, format.muxerOptions, *parametersOf(m_Codec.get()), picture.fps),
      m_Raw(rawFrame(picture)),
      m_Converted(checkAllocated(av_frame_alloc())),
      m_Packet(checkAllocated(av_packet_alloc())) {}

void Pipeline::readFrame(QIODevice* chunk) {
  check(av_frame_make_writable(m_Raw.get()), action);
  const qint64 rowSize = 4LL * m_Raw->width;
  for (int row = 0; row < m_Raw->height; ++row) {
    auto* data = m_Raw->data[0] + static_cast<qint64>(row) * m_Raw->linesize[0];
    if (chunk->read(reinterpret_cast<char*>(data), rowSize) != rowSize)
      throw Error(QStringLiteral("Couldn't read the chunk: %1").arg(chunk->errorString()));
  }
}

void Pipeline::encodeFrame() {
  m_Raw->pts = m_Frames++;
  m_Filter.push(m_Raw.get());
  encodeConverted();
}

void Pipeline::drain() {
  m_Filter.push(nullptr);
  encodeConverted();
  check(avcodec_send_frame(m_Codec.get(), nullptr), action);
  writePackets();
}

void Pipeline::encodeConverted() {
  while (m_Filter.pull(m_Converted.get())) {
    setColours(m_Converted.get(), m_Codec.get());
    const int result = avcodec_send_frame(m_Codec.get(), m_Converted.get());
    av_frame_unref(m_Converted.get());
    check(result, action);
    writePackets();
  }
}

void Pipeline::writePackets() {
  for (;;) {
    const int result = avcodec_receive_packet(m_Codec.get(), m_Packet.get());
    if (result == AVERROR(EAGAIN) || result == AVERROR_EOF) return;
    check(result, action);
    if (m_Format.edit) m_Format.edit(m_Packet.get());
    m_Muxer.write(m_Packet.get(), m_Codec->time_base);
  }
}

}  // namespace nubo::grab::video::av
