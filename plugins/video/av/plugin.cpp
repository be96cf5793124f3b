// What the encoder registry asks of this library. The codecs lie in a library of their own, which is loaded by the
// first recording: FFmpeg brings hundreds of libraries along, of which somebody who takes a picture needs none.
#include <QLibrary>

#include "kernel/log/logger.h"
#include "kernel/util/libraryfile.h"
#include "module_grab/video/videoencoder.h"
#include "plugins/video/av/codecs.h"
#include "plugins/video/av/libavversions.h"

namespace {

using namespace nubo::grab::video;

struct Offer {
  const char* extension;
  const char* description;
  int mostFps = 0;  ///< as the format of the codecs' library has it
  int shownFps = 0;
  int rank = 0;
};

/// The codecs' library has settings for each. An FFmpeg that lacks one of them says so when it is to record.
constexpr Offer Offers[] = {
    {"mp4", "MPEG-4 video (H.264)", 0, 0, 100},  {"mkv", "Matroska video (FFV1, lossless with alpha)"},
    {"webm", "WebM video (VP9 with alpha)"},     {"mov", "QuickTime video (ProRes 4444 with alpha)"},
    {"avi", "AVI video (MPEG-4 part 2)", 65535}, {"gif", "Animated GIF", 100, 50},
};

/// The library of codecs, in the folder "av" beside this one, and unloaded before it.
class Codecs {
 public:
  Codecs() : m_Library(fileName()) {
    m_NewEncoder = reinterpret_cast<av::NewEncoder>(m_Library.resolve("newEncoder"));
    if (!m_NewEncoder) NUBO_LOG(nubo::log::Failure, "Codecs::Codecs", m_Library.errorString());
  }
  ~Codecs() {
    if (m_Library.isLoaded()) m_Library.unload();
  }
  Codecs(const Codecs&) = delete;
  Codecs& operator=(const Codecs&) = delete;

  /// Null if there is none.
  Encoder* newEncoder(const char* extension) const { return m_NewEncoder ? m_NewEncoder(extension) : nullptr; }

 private:
  static QString fileName() {
    return nubo::util::folderOfLibrary(reinterpret_cast<const void*>(&Codecs::fileName)) +
           QStringLiteral("/av/libvideo_av_codecs.so");
  }

  QLibrary m_Library;
  av::NewEncoder m_NewEncoder = nullptr;
};

/// Called by the registry with the Offer that was registered.
Encoder* createEncoder(void* offer) {
  static const Codecs codecs;
  return codecs.newEncoder(static_cast<const Offer*>(offer)->extension);
}

}  // namespace

/// True, so that the library is unloaded together with its registrations, if it has at least one.
extern "C" Q_DECL_EXPORT bool doRegister() {
  bool isRegistered = false;
  VideoEncoder* registry = VideoEncoder::getInstance();
  for (const Offer& offer : Offers) {
    const QString extension = QString::fromLatin1(offer.extension);
    if (!registry->registerEncoder(&createEncoder, extension, QString::fromLatin1(offer.description),
                                   const_cast<Offer*>(&offer)))
      continue;
    registry->limitFrameRate(extension, offer.mostFps, offer.shownFps);
    registry->rankFormat(extension, offer.rank);
    isRegistered = true;
  }
  return isRegistered;
}

extern "C" Q_DECL_EXPORT nubo::main::ThirdPartyInfos getInfos() { return av::librariesBuiltWith(); }
