// What the encoder registry asks of this library. The codecs lie in a library of their own, which is in memory only
// while it is asked what it offers, and from the first recording on: FFmpeg brings hundreds of libraries along, of
// which somebody who takes a picture needs none.
#include <dlfcn.h>

#include <QByteArray>
#include <QFileInfo>
#include <QLibrary>
#include <deque>
#include <memory>

#include "kernel/log/logger.h"
#include "module_grab/video/videoencoder.h"
#include "plugins/video/av/codecs.h"

namespace {

using namespace nubo::grab::video;

/// The library of codecs, in the folder "av" beside this one. Unloaded with the last object that loaded it.
class Codecs {
 public:
  Codecs() : m_Library(fileName()) {
    if (m_Library.load()) return;
    nubo::log::Logger::getInstance()->log(nubo::log::Failure, "plugins/video/av/plugin", __LINE__, "Codecs::Codecs",
                                          nullptr, m_Library.errorString());
  }
  ~Codecs() {
    if (m_Library.isLoaded()) m_Library.unload();
  }
  Codecs(const Codecs&) = delete;
  Codecs& operator=(const Codecs&) = delete;

  /// Null if the library could not be loaded.
  template <class Function>
  Function function(const char* name) {
    return m_Library.isLoaded() ? reinterpret_cast<Function>(m_Library.resolve(name)) : nullptr;
  }

 private:
  static QString fileName() {
    Dl_info self{};
    dladdr(reinterpret_cast<void*>(&Codecs::fileName), &self);
    return QFileInfo(QFile::decodeName(self.dli_fname)).absolutePath() + QStringLiteral("/av/libvideo_av_codecs.so");
  }

  QLibrary m_Library;
};

/// The extensions registered; the registry hands a pointer to one back as user data.
std::deque<QByteArray>& extensions() {
  static std::deque<QByteArray> list;
  return list;
}

/// Loaded by the first recording, and kept until this library goes.
Encoder* createEncoder(void* extension) {
  static const auto codecs = std::make_unique<Codecs>();
  const auto newEncoder = codecs->function<av::NewEncoder>("newEncoder");
  return newEncoder ? newEncoder(static_cast<QByteArray*>(extension)->constData()) : nullptr;
}

void registerFormat(const char* extension, const char* description, void* isRegistered) {
  extensions().emplace_back(extension);
  *static_cast<bool*>(isRegistered) |= VideoEncoder::getInstance()->registerEncoder(
      &createEncoder, QString::fromLatin1(extension), QString::fromLatin1(description), &extensions().back());
}

nubo::main::ThirdPartyInfos& infos() {
  static nubo::main::ThirdPartyInfos kept;
  return kept;
}

}  // namespace

/// True, so that the library is unloaded together with its registrations, if it has at least one.
extern "C" Q_DECL_EXPORT bool doRegister() {
  bool isRegistered = false;
  Codecs codecs;
  if (const auto listFormats = codecs.function<av::ListFormats>("listFormats"))
    listFormats(&registerFormat, &isRegistered);
  if (const auto describe = codecs.function<av::DescribeLibraries>("describeLibraries")) describe(&infos());
  return isRegistered;
}

extern "C" Q_DECL_EXPORT nubo::main::ThirdPartyInfos getInfos() { return infos(); }
