#include "plugins/video/av/fragments.h"

#include <QFile>
#include <QSaveFile>

#include "plugins/video/av/deviceio.h"
#include "plugins/video/av/muxer.h"

namespace nubo::grab::video::av {

namespace {

constexpr const char* action = "Couldn't merge the fragments of the video";

struct CloseInput {
  void operator()(AVFormatContext* context) const { avformat_close_input(&context); }
};
using InputFormat = std::unique_ptr<AVFormatContext, CloseInput>;

InputFormat openFormat(AVIOContext* io) {
  AVFormatContext* format = checkAllocated(avformat_alloc_context());
  format->pb = io;
  check(avformat_open_input(&format, "", av_find_input_format("mp4"), nullptr), action);  // frees it on failure
  return InputFormat(format);
}

/// Room for the index: tables with a size and a key frame number for each frame, and a place for each run of up
/// to a megabyte of frames, of which two that follow one another exceed half of that.
qint64 indexSize(qint64 frames, qint64 fileSize) {
  constexpr qint64 headers = 4096;
  constexpr qint64 perFrame = 4 + 4;
  constexpr qint64 perRun = 8 + 12;
  const qint64 runs = 2 * (fileSize / (1 << 20)) + 2;
  return headers + frames * perFrame + runs * perRun;
}

[[noreturn]] void fail(const QFileDevice& file) {
  throw Error(QStringLiteral("%1: %2").arg(QLatin1String(action), file.errorString()));
}

}  // namespace

void mergeFragments(const QString& fileName, qint64 frames, int fps) {
  QFile source(fileName);
  if (!source.open(QIODevice::ReadOnly)) fail(source);
  QSaveFile target(fileName);
  if (!target.open(QIODevice::WriteOnly)) fail(target);

  DeviceIo io(&source);
  const InputFormat input = openFormat(io.context());
  if (input->nb_streams != 1) throw Error(QStringLiteral("%1: no frames").arg(QLatin1String(action)));
  const AVStream& stream = *input->streams[0];
  const QByteArray options =
      QStringLiteral("movflags=write_colr:moov_size=%1").arg(indexSize(frames, source.size())).toLatin1();
  Muxer output(&target, "mp4", options.constData(), *stream.codecpar, fps);

  const Packet packet(checkAllocated(av_packet_alloc()));
  qint64 copied = 0;
  int result = 0;
  for (; (result = av_read_frame(input.get(), packet.get())) >= 0; ++copied)
    output.write(packet.get(), stream.time_base);
  if (result != AVERROR_EOF) check(result, action);
  if (copied != frames) throw Error(QStringLiteral("%1: frames are missing").arg(QLatin1String(action)));
  output.finish();
  source.close();
  if (!target.commit()) fail(target);
}

}  // namespace nubo::grab::video::av
