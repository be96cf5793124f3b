#include "module_grab/video/videoencoder.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QLibrary>
#include <QMutex>
#include <QMutexLocker>
#include <algorithm>
#include <memory>

#include "kernel/log/logger.h"
#include "kernel/main/informationobject.h"
#include "kernel/main/modulemanager.h"
#include "kernel/util/exceptiontext.h"
#include "kernel/util/libraryfile.h"
#include "kernel/util/pluginfolders.h"
#include "module_grab/video/encoder.h"

namespace nubo::grab::video {

namespace {

using nubo::main::ThirdPartyInfos;

QMutex instanceMutex;

constexpr char RefreshPlugins[] = "nubo::grab::video::VideoEncoder::refreshPlugins";
constexpr char NoModule[] = "Module 'Grab' not found by the modulemanager!";

/// The module's records; null if there is no module.
QList<ThirdPartyInfos>* additionalInformations() {
  const auto* module = nubo::main::ModuleManager::getInstance()->getModule(QStringLiteral("Grab"));
  return module ? module->getInformationObject()->getAdditionalInformations() : nullptr;
}

/// The empty text once the library is loaded, or why it cannot be.
QString load(QLibrary& library) {
  if (nubo::util::isCutOff(library.fileName())) return QStringLiteral("the file is not complete");
  // One that lacks a function must be found out now, not when a recording calls it.
  library.setLoadHints(QLibrary::ResolveAllSymbolsHint);
  return library.load() ? QString() : library.errorString();
}

/// Under which a file's encoder is registered.
QString keyOf(const QString& fileName) { return QFileInfo(fileName).completeSuffix().toUpper(); }

/// A text whose characters are not in the plug-in's memory, which a literal's are.
QString detached(const QString& text) { return QString(text.constData(), text.size()); }

}  // namespace

VideoEncoder* VideoEncoder::mp_This = nullptr;

VideoEncoder* VideoEncoder::getInstance() {
  const QMutexLocker lock(&instanceMutex);
  if (!mp_This) mp_This = new VideoEncoder;
  return mp_This;
}

VideoEncoder::VideoEncoder() = default;

VideoEncoder::VideoEncoder(const VideoEncoder& /*other*/) { qFatal("Don't do this!"); }

VideoEncoder& VideoEncoder::operator=(const VideoEncoder& other) = default;

VideoEncoder::~VideoEncoder() {
  unloadPlugins();
  const QMutexLocker lock(&instanceMutex);
  mp_This = nullptr;
}

void VideoEncoder::refreshPlugins() {
  unloadPlugins();
  auto* infos = additionalInformations();
  if (!infos) NUBO_LOG(nubo::log::Failure, RefreshPlugins, NoModule);
  loadFolder(QCoreApplication::applicationDirPath() + QStringLiteral("/plugins/video/"), infos);
  for (const QString& folder : nubo::util::furtherPluginFolders(QStringLiteral("plugins/video")))
    loadFolder(folder, infos);
}

void VideoEncoder::loadFolder(const QString& folder, QList<ThirdPartyInfos>* infos) {
  for (const QFileInfo& file : QDir(folder).entryInfoList()) {
    if (file.isSymLink() || file.baseName().isEmpty() || !QLibrary::isLibrary(file.absoluteFilePath())) continue;
    const QString error = loadPlugin(file.absoluteFilePath(), infos);
    if (!error.isEmpty())
      NUBO_LOG(nubo::log::Failure, RefreshPlugins, "Loading of video encoder plugin: '%s' failed with error: %s",
               file.baseName().toLocal8Bit().constData(), error.toLocal8Bit().constData());
  }
}

QString VideoEncoder::loadPlugin(const QString& fileName, QList<ThirdPartyInfos>* infos) {
  auto library = std::make_unique<QLibrary>(fileName);
  if (const QString error = load(*library); !error.isEmpty()) return error;
  const auto doRegister = reinterpret_cast<bool (*)()>(library->resolve("doRegister"));
  const auto getInfos = reinterpret_cast<ThirdPartyInfos (*)()>(library->resolve("getInfos"));
  const auto encoders = m_Encoders;
  const auto loadableFiles = m_LoadableFiles;
  const auto frameRates = m_FrameRates;
  const auto ranks = m_Ranks;
  try {
    const bool isRegistered = doRegister && doRegister();
    if (!isRegistered)
      NUBO_LOG(nubo::log::Note, RefreshPlugins,
               (doRegister ? QStringLiteral("doRegister() of '%1' returned false")
                           : QStringLiteral("'%1' has no function doRegister() with C linkage, and brings no format"))
                   .arg(fileName));
    if (getInfos && infos) {
      const ThirdPartyInfos record = getInfos();
      infos->append({detached(record.name), detached(record.version), detached(record.licence), detached(record.url)});
    }
    // Deleting a QLibrary leaves the library loaded, as it must stay when its registrations may still be used.
    if (isRegistered) m_Libraries.append(library.release());
    return QString();
  } catch (...) {
    m_Encoders = encoders;
    m_LoadableFiles = loadableFiles;
    m_FrameRates = frameRates;
    m_Ranks = ranks;
    return nubo::util::exceptionText();
  }
}

bool VideoEncoder::registerEncoder(EncoderFactory factory, const QString& extension, const QString& description,
                                   void* userData) {
  const QString key = detached(extension.toUpper());
  if (m_Encoders.count(key) != 0) {
    NUBO_LOG(nubo::log::Failure, "nubo::grab::video::VideoEncoder::registerEncoder",
             "You could not register the same file extension twice!");
    NUBO_LOG(nubo::log::Note, "nubo::grab::video::VideoEncoder::registerEncoder",
             QStringLiteral("'%1' stays with \"%2\", and \"%3\" does not get it")
                 .arg(extension.toLower(), m_LoadableFiles[key], description));
    return false;
  }
  m_Encoders[key] = {factory, userData};
  m_LoadableFiles[key] = detached(description);
  return true;
}

void VideoEncoder::limitFrameRate(const QString& extension, int most, int shown) {
  m_FrameRates[detached(extension.toUpper())] = {most, shown};
}

void VideoEncoder::rankFormat(const QString& extension, int rank) { m_Ranks[detached(extension.toUpper())] = rank; }

QString VideoEncoder::suggestedFormat() const {
  QString best;
  int highest = 0;
  for (const auto& [extension, rank] : m_Ranks) {
    if (rank <= highest || m_Encoders.count(extension) == 0) continue;
    highest = rank;
    best = extension.toLower();
  }
  return best;
}

int VideoEncoder::writtenFrameRate(const QString& fileName, int fps) const {
  const auto limits = m_FrameRates.find(keyOf(fileName));
  if (fps < 1 || limits == m_FrameRates.end()) return std::max(fps, 0);
  const auto [most, shown] = limits->second;
  if (most > 0 && fps > most) return 0;
  return shown > 0 ? std::min(fps, shown) : fps;
}

Encoder* VideoEncoder::getEncoder(const QString& fileName) {
  const auto entry = m_Encoders.find(keyOf(fileName));
  return entry == m_Encoders.end() ? nullptr : entry->second.factory(entry->second.userData);
}

const std::map<QString, QString>* VideoEncoder::getLoadableFiles() { return &m_LoadableFiles; }

void VideoEncoder::unloadPlugins() {
  m_Encoders.clear();
  m_LoadableFiles.clear();
  m_FrameRates.clear();
  m_Ranks.clear();
  for (QLibrary* library : m_Libraries) {
    library->unload();
    delete library;
  }
  m_Libraries.clear();
  if (auto* infos = additionalInformations())
    infos->clear();
  else
    NUBO_LOG(nubo::log::Failure, "nubo::grab::video::VideoEncoder::unloadPlugins", NoModule);
}

}  // namespace nubo::grab::video
