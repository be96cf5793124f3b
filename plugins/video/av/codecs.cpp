#include "plugins/video/av/codecs.h"

#include <cstring>

#include "plugins/video/av/avencoder.h"
#include "plugins/video/av/formats.h"
#include "plugins/video/av/libav.h"

using namespace nubo::grab::video;

namespace {

QString versionText(const char* library, unsigned version) {
  return QStringLiteral("%1 %2.%3.%4")
      .arg(QLatin1String(library))
      .arg(AV_VERSION_MAJOR(version))
      .arg(AV_VERSION_MINOR(version))
      .arg(AV_VERSION_MICRO(version));
}

}  // namespace

extern "C" Q_DECL_EXPORT void listFormats(av::FormatReceiver receiver, void* context) {
  for (const av::Format* format : av::availableFormats()) receiver(format->extension, format->description, context);
}

extern "C" Q_DECL_EXPORT void describeLibraries(nubo::main::ThirdPartyInfos* infos) {
  const QStringList versions{
      versionText("libavcodec", avcodec_version()), versionText("libavformat", avformat_version()),
      versionText("libavfilter", avfilter_version()), versionText("libavutil", avutil_version())};
  // Texts that live on when this library is unloaded.
  infos->name = QString::fromLatin1("FFmpeg");
  infos->version = versions.join(QLatin1String(", "));
  infos->licence = QString::fromLatin1(avcodec_license());
  infos->url = QString::fromLatin1("https://ffmpeg.org");
}

extern "C" Q_DECL_EXPORT Encoder* newEncoder(const char* extension) {
  static const av::LogForwarding forwarding;
  for (const av::Format* format : av::availableFormats())
    if (std::strcmp(format->extension, extension) == 0) return new av::AvEncoder(*format);
  return nullptr;
}
