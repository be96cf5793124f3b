#include "plugins/video/av/demuxer.h"

namespace nubo::grab::video::av {

Demuxer::Demuxer(QIODevice* device, const char* format, const char* action) : m_Io(device), m_Action(action) {
  AVFormatContext* context = checkAllocated(avformat_alloc_context());
  context->pb = m_Io.context();
  check(avformat_open_input(&context, "", av_find_input_format(format), nullptr), action);  // frees it on failure
  m_Format.reset(context);
  if (context->nb_streams != 1) throw Error(QStringLiteral("%1: no frames").arg(QString::fromLocal8Bit(action)));
}

bool Demuxer::read(AVPacket* packet) {
  const int result = av_read_frame(m_Format.get(), packet);
  if (result == AVERROR_EOF) return false;
  check(result, m_Action);
  if (packet->flags & AV_PKT_FLAG_CORRUPT)
    throw Error(QStringLiteral("%1: its last frame is cut off").arg(QString::fromLocal8Bit(m_Action)));
  return true;
}

}  // namespace nubo::grab::video::av
