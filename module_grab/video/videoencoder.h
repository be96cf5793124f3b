// The registry of video encoders: loads encoder plug-ins and picks an encoder by a file name's extension.
#pragma once

#include <QList>
#include <QString>
#include <map>

#include "module_grab/visibility.h"

QT_BEGIN_NAMESPACE
class QLibrary;
QT_END_NAMESPACE

namespace nubo::main {
struct ThirdPartyInfos;
}

namespace nubo::grab::video {

class Encoder;

/// A plug-in is a library in the application directory's "/plugins/video/". It may export two functions with
/// C linkage: `bool doRegister()`, which calls registerEncoder once per extension, and
/// `nubo::main::ThirdPartyInfos getInfos()`, which names a library that the plug-in is built on. A plug-in whose
/// doRegister returned true is unloaded by unloadPlugins; every encoder it made must have been deleted by then.
///
/// Used from one thread at a time.
class NUBO_MODULE_GRAB_EXPORT VideoEncoder {
 public:
  /// Makes a new encoder, owned by the caller, or returns null. The argument is the registration's user data.
  using EncoderFactory = Encoder* (*)(void* userData);

  /// The one instance; made on the first call, and again on the first call after its deletion.
  static VideoEncoder* getInstance();

  ~VideoEncoder();
  VideoEncoder& operator=(const VideoEncoder& other);

  /// Unloads every plug-in and loads those of the plug-in directory, in name order, and then likewise those of the
  /// user's own and of those that NUBO_PLUGIN_PATH names. Plug-ins that cannot be loaded,
  /// lack a symbol or throw are logged and skipped.
  void refreshPlugins();
  /// For plug-ins, from doRegister. Case of the extension is ignored. Logs and returns false if it is taken.
  bool registerEncoder(EncoderFactory factory, const QString& extension, const QString& description, void* userData);
  /// For plug-ins, after registerEncoder, where not every frame rate will do: with more than `most` frames per second
  /// nothing can be encoded, and with more than `shown` the video is written with that many, and lasts longer. 0: there
  /// is no such limit.
  void limitFrameRate(const QString& extension, int most, int shown);
  /// For plug-ins, after registerEncoder: of the formats with a rank above 0, dialogs suggest the highest until their
  /// user has chosen one.
  void rankFormat(const QString& extension, int rank);
  /// The extension that is suggested, in lower case; empty where none has a rank.
  QString suggestedFormat() const;
  /// The frames per second with which a recording at `fps` is written to that file; 0 where it cannot be.
  int writtenFrameRate(const QString& fileName, int fps) const;
  /// A new encoder, owned by the caller, for everything after the first dot of the file's name; null if nobody
  /// registered that.
  Encoder* getEncoder(const QString& fileName);
  /// Extension in upper case to description. Valid as long as the registry.
  const std::map<QString, QString>* getLoadableFiles();
  /// Drops all registrations, unloads the plug-ins and clears the module's additional information records.
  void unloadPlugins();

 private:
  struct EncoderEntry {
    EncoderFactory factory;
    void* userData;
  };

  struct FrameRates {
    int most;
    int shown;
  };

  VideoEncoder();
  VideoEncoder(const VideoEncoder& other);
  void loadFolder(const QString& folder, QList<nubo::main::ThirdPartyInfos>* infos);
  /// The empty text, or why nothing comes of the plug-in.
  QString loadPlugin(const QString& fileName, QList<nubo::main::ThirdPartyInfos>* infos);

  static VideoEncoder* mp_This;
  QList<QLibrary*> m_Libraries;  ///< those whose doRegister succeeded, in load order; owned
  std::map<QString, EncoderEntry> m_Encoders;
  std::map<QString, QString> m_LoadableFiles;
  std::map<QString, FrameRates> m_FrameRates;  ///< of the extensions that have limits
  std::map<QString, int> m_Ranks;              ///< of those that have one
};

}  // namespace nubo::grab::video
