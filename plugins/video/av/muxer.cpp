#include "plugins/video/av/muxer.h"

namespace nubo::grab::video::av {

namespace {

constexpr const char* action = "Couldn't write the video";

OutputFormat makeFormat(const char* name) {
  AVFormatContext* format = nullptr;
  check(avformat_alloc_output_context2(&format, nullptr, name, nullptr), action);
  return OutputFormat(format);
}

}  // namespace

Muxer::Muxer(QIODevice* device, const char* format, const char* options, const AVCodecParameters& parameters, int fps)
    : m_Io(device), m_Format(makeFormat(format)) {
  m_Format->pb = m_Io.context();
  AVStream* stream = checkAllocated(avformat_new_stream(m_Format.get(), nullptr));
  check(avcodec_parameters_copy(stream->codecpar, &parameters), action);
  stream->time_base = {1, fps};
  // Also how long a frame is shown that says nothing of it; without that, the last one of a file would have no end.
  stream->avg_frame_rate = stream->r_frame_rate = {fps, 1};
  Options settings(options);
  checkWritten(avformat_write_header(m_Format.get(), &settings));
  settings.checkAllUsed();
}

Muxer::~Muxer() {
  if (m_Finished) return;
  // Some containers' writers let go of their last frame only when they write the end of the file.
  m_Io.discard();
  av_write_trailer(m_Format.get());
}

void Muxer::write(AVPacket* packet, AVRational timeBase) {
  packet->stream_index = 0;
  av_packet_rescale_ts(packet, timeBase, m_Format->streams[0]->time_base);
  const int result = av_write_frame(m_Format.get(), packet);
  av_packet_unref(packet);
  checkWritten(result);
}

void Muxer::flush() {
  checkWritten(av_write_frame(m_Format.get(), nullptr));
  m_Io.flush();
}

void Muxer::finish() {
  m_Finished = true;
  const int result = av_write_trailer(m_Format.get());
  m_Io.flush();
  check(result, action);
}

void Muxer::checkWritten(int result) {
  m_Io.checkWritten();
  check(result, action);
}

bool wantsGlobalHeader(const char* format) {
  return av_guess_format(format, nullptr, nullptr)->flags & AVFMT_GLOBALHEADER;
}

}  // namespace nubo::grab::video::av
