// How each of the video formats is encoded.
#pragma once

struct AVPacket;

namespace nubo::grab::video::av {

struct Format {
  const char* extension;
  const char* muxer;         ///< FFmpeg's name of the container
  const char* muxerOptions;  ///< "name=value:name=value"
  const char* codec;         ///< FFmpeg's name of the encoder
  const char* codecOptions;
  const char* qualityOptions;  ///< in place of a bit rate that nobody has chosen; null: the quality is fixed
  /// Turns BGRA frames into what the encoder takes. HELD_FRAMES stands for as many as may be held back meanwhile.
  const char* filter;
  bool isFragmented;        ///< written in fragments, to be merged when the file is complete
  int maxFps;               ///< more do not fit the container's clock; 0: no limit
  int shownFps;             ///< players show more of them slowly: with more, it is written with so many; 0: no limit
  void (*edit)(AVPacket*);  ///< changes each packet before it is written; can be null
};

/// Null for an extension without a format; lives as long as this library.
const Format* findFormat(const char* extension);

}  // namespace nubo::grab::video::av
