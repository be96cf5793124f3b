// The way of a raw frame through conversion, codec and container into a device.
#pragma once

#include "plugins/video/av/filtergraph.h"
#include "plugins/video/av/libav.h"
#include "plugins/video/av/muxer.h"

namespace nubo::grab::video::av {

struct Format;

struct Picture {
  int width;
  int height;
  int fps;
  int bitrate;           ///< bits per second
  bool isBitrateChosen;  ///< false: a quality is aimed at in its place
};

/// All members throw Error.
class Pipeline {
 public:
  /// Writes the beginning of the file. The format and the device outlive this.
  Pipeline(const Format& format, const Picture& wanted, QIODevice* device);

  /// Reads the device's next bytes, a raw frame.
  void readFrame(QIODevice* chunk);
  /// Encodes the frame read last as the next one of the video.
  void encodeFrame();
  /// Encodes what conversion and codec still hold. No frame may follow.
  void drain();
  /// Brings everything that left the codec into the device.
  void flush() { m_Muxer.flush(); }
  /// Writes the end of the file, after drain.
  void finish() { m_Muxer.finish(); }

  qint64 frames() const { return m_Frames; }
  /// The video's frames per second, which can be fewer than asked for.
  int fps() const { return m_Codec->framerate.num; }

 private:
  /// The picture fits the format.
  Pipeline(QIODevice* device, const Format& format, const Picture& picture);

  void encodeConverted();
  void writePackets();

  const Format& m_Format;
  FilterGraph m_Filter;
  CodecContext m_Codec;
  Muxer m_Muxer;
  Frame m_Raw;
  Frame m_Converted;
  Packet m_Packet;
  qint64 m_Frames = 0;
};

}  // namespace nubo::grab::video::av
