// Converts raw frames into the pixel format and colours that a codec takes.
#pragma once

#include "plugins/video/av/libav.h"

namespace nubo::grab::video::av {

class FilterGraph {
 public:
  /// `description` in FFmpeg's language for filters. Takes BGRA frames of the size given whose presentation
  /// times count frames. Throws Error.
  FilterGraph(const char* description, int width, int height, int fps, int threads);

  /// Null says that there are no more frames. The frame's data may be shared. Throws Error.
  void push(AVFrame* frame);
  /// False when it needs another frame first, and at the end. Throws Error.
  bool pull(AVFrame* frame);

  AVPixelFormat pixelFormat() const;
  /// The unit of presentation times of frames that are pulled.
  AVRational timeBase() const;

 private:
  Graph m_Graph;
  AVFilterContext* mp_Source;  ///< owned by the graph
  AVFilterContext* mp_Sink;
};

}  // namespace nubo::grab::video::av
