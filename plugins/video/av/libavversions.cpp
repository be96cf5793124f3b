#include "plugins/video/av/libavversions.h"

extern "C" {
#include <libavcodec/version.h>
#include <libavfilter/version.h>
#include <libavformat/version.h>
#include <libavutil/version.h>
}

namespace nubo::grab::video::av {

main::ThirdPartyInfos librariesBuiltWith() {
  main::ThirdPartyInfos infos;
  infos.name = QStringLiteral("FFmpeg");
  infos.version = QStringLiteral("libavcodec " AV_STRINGIFY(LIBAVCODEC_VERSION) ", libavformat " AV_STRINGIFY(
      LIBAVFORMAT_VERSION) ", libavfilter " AV_STRINGIFY(LIBAVFILTER_VERSION) ", libavutil " AV_STRINGIFY(LIBAVUTIL_VERSION));
  infos.licence = QStringLiteral("LGPL version 2.1 or later; GPL where FFmpeg was built with GPL parts, as x264 is");
  infos.url = QStringLiteral("https://ffmpeg.org");
  return infos;
}

}  // namespace nubo::grab::video::av
