// Owners for FFmpeg's objects, and its error codes as exceptions that never leave this plug-in.
#pragma once

#include <QString>
#include <memory>
#include <stdexcept>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavfilter/avfilter.h>
#include <libavformat/avformat.h>
}

namespace nubo::grab::video::av {

/// Calls one of FFmpeg's functions that free an object and clear the pointer to it.
template <auto function>
struct Free {
  template <typename T>
  void operator()(T* object) const {
    function(&object);
  }
};

struct FreeFormat {
  void operator()(AVFormatContext* context) const { avformat_free_context(context); }
};

using CodecContext = std::unique_ptr<AVCodecContext, Free<avcodec_free_context>>;
using CodecParameters = std::unique_ptr<AVCodecParameters, Free<avcodec_parameters_free>>;
using OutputFormat = std::unique_ptr<AVFormatContext, FreeFormat>;
using Frame = std::unique_ptr<AVFrame, Free<av_frame_free>>;
using Packet = std::unique_ptr<AVPacket, Free<av_packet_free>>;
using Graph = std::unique_ptr<AVFilterGraph, Free<avfilter_graph_free>>;

/// Says what could not be done and why, in one line.
class Error : public std::runtime_error {
 public:
  explicit Error(const QString& text) : std::runtime_error(text.toLocal8Bit().constData()) {}
};

/// Returns the result of one of FFmpeg's functions, or throws Error with `action` and FFmpeg's own text.
int check(int result, const char* action);

/// The object that FFmpeg allocated; throws Error for null.
template <typename T>
T* checkAllocated(T* object) {
  if (!object) check(AVERROR(ENOMEM), "Couldn't allocate");
  return object;
}

/// FFmpeg's form of settings, made of a text such as "name=value:name=value". Throws Error.
class Options {
 public:
  explicit Options(const char* text);
  ~Options() { av_dict_free(&mp_Options); }
  Options(const Options&) = delete;
  Options& operator=(const Options&) = delete;

  /// For functions that take out of the settings what they know.
  AVDictionary** operator&() { return &mp_Options; }
  /// Throws Error if a setting was not taken.
  void checkAllUsed() const;

 private:
  AVDictionary* mp_Options = nullptr;
};

/// While it lives, FFmpeg's error messages go to the host's log.
class LogForwarding {
 public:
  LogForwarding();
  ~LogForwarding();
  LogForwarding(const LogForwarding&) = delete;
  LogForwarding& operator=(const LogForwarding&) = delete;
};

}  // namespace nubo::grab::video::av
