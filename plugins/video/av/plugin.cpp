// What the encoder registry asks of this library.
#include "kernel/main/informationobject.h"
#include "module_grab/video/videoencoder.h"
#include "plugins/video/av/avencoder.h"
#include "plugins/video/av/formats.h"
#include "plugins/video/av/libav.h"

namespace {

using namespace nubo::grab::video;

Encoder* createEncoder(void* format) { return new av::AvEncoder(*static_cast<const av::Format*>(format)); }

QString versionText(const char* library, unsigned version) {
  return QStringLiteral("%1 %2.%3.%4")
      .arg(QLatin1String(library))
      .arg(AV_VERSION_MAJOR(version))
      .arg(AV_VERSION_MINOR(version))
      .arg(AV_VERSION_MICRO(version));
}

}  // namespace

/// True, so that the library is unloaded together with its registrations, if it has at least one.
extern "C" Q_DECL_EXPORT bool doRegister() {
  static const av::LogForwarding forwarding;
  bool isRegistered = false;
  for (const av::Format* format : av::availableFormats())
    isRegistered |= VideoEncoder::getInstance()->registerEncoder(&createEncoder, QLatin1String(format->extension),
                                                                 QLatin1String(format->description),
                                                                 const_cast<av::Format*>(format));
  return isRegistered;
}

extern "C" Q_DECL_EXPORT nubo::main::ThirdPartyInfos getInfos() {
  const QStringList versions{
      versionText("libavcodec", avcodec_version()), versionText("libavformat", avformat_version()),
      versionText("libavfilter", avfilter_version()), versionText("libavutil", avutil_version())};
  return {QStringLiteral("FFmpeg"), versions.join(QStringLiteral(", ")), QString::fromLatin1(avcodec_license()),
          QStringLiteral("https://ffmpeg.org")};
}
