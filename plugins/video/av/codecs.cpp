#include "plugins/video/av/codecs.h"

#include "plugins/video/av/avencoder.h"
#include "plugins/video/av/formats.h"
#include "plugins/video/av/libav.h"

using namespace nubo::grab::video;

extern "C" Q_DECL_EXPORT Encoder* newEncoder(const char* extension) {
  static const av::LogForwarding forwarding;
  const av::Format* format = av::findFormat(extension);
  return format ? new av::AvEncoder(*format) : nullptr;
}
