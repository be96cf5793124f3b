// Writes encoded frames of one video stream into a container on a device.
#pragma once

#include "plugins/video/av/deviceio.h"
#include "plugins/video/av/libav.h"

namespace nubo::grab::video::av {

class Muxer {
 public:
  /// Writes the beginning of the file; a muxer deleted before finish leaves it as it is then. `format` is FFmpeg's name
  /// of the container; the device outlives this. Throws Error, as do all members.
  Muxer(QIODevice* device, const char* format, const char* options, const AVCodecParameters& parameters, int fps);
  ~Muxer();
  Muxer(const Muxer&) = delete;
  Muxer& operator=(const Muxer&) = delete;

  /// Takes the packet's contents. `timeBase` is the unit of its times.
  void write(AVPacket* packet, AVRational timeBase);
  /// Brings everything written so far into the file; a fragmented file gets the end of a fragment.
  void flush();
  /// Writes the end of the file.
  void finish();

 private:
  /// Of a failure the device knows more than FFmpeg's result says.
  void checkWritten(int result);

  DeviceIo m_Io;
  OutputFormat m_Format;
  bool m_Finished = false;
};

/// True if the codec's headers belong into the container's header.
bool wantsGlobalHeader(const char* format);

}  // namespace nubo::grab::video::av
