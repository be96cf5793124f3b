// Reads the encoded frames of one video stream out of a container on a device.
#pragma once

#include "plugins/video/av/deviceio.h"
#include "plugins/video/av/libav.h"

namespace nubo::grab::video::av {

class Demuxer {
 public:
  /// `format` is FFmpeg's name of the container, `action` what is said to have failed; the device is open for reading
  /// and outlives this. Throws Error, as do all members, also where there is not exactly one stream.
  Demuxer(QIODevice* device, const char* format, const char* action);

  const AVStream& stream() const { return *m_Format->streams[0]; }
  /// The next frame, in the stream's unit of times. False at the end.
  bool read(AVPacket* packet);

 private:
  struct CloseInput {
    void operator()(AVFormatContext* context) const { avformat_close_input(&context); }
  };

  DeviceIo m_Io;
  const char* m_Action;
  std::unique_ptr<AVFormatContext, CloseInput> m_Format;
};

}  // namespace nubo::grab::video::av
