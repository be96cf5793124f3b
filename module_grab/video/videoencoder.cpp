#include "module_grab/video/videoencoder.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QLibrary>
#include <QMutex>
#include <QMutexLocker>
#include <memory>

#include "kernel/log/logger.h"
#include "kernel/main/informationobject.h"
#include "kernel/main/modulemanager.h"
#include "kernel/util/libraryfile.h"
#include "module_grab/video/encoder.h"

namespace nubo::grab::video {

namespace {

using nubo::main::ThirdPartyInfos;

QMutex instanceMutex;

template <typename... Arguments>
void logFailure(int line, const char* function, const char* format, const Arguments&... arguments) {
  nubo::log::Logger::getInstance()->log(nubo::log::Failure, "module_grab/video/videoencoder", line, function, nullptr,
                                        format, arguments...);
}

/// The module's records, or null after logging that there is no module.
QList<ThirdPartyInfos>* additionalInformations(int line, const char* function) {
  const auto* module = nubo::main::ModuleManager::getInstance()->getModule(QStringLiteral("Grab"));
  if (module) return module->getInformationObject()->getAdditionalInformations();
  logFailure(line, function, "Module 'Grab' not found by the modulemanager!");
  return nullptr;
}

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
  const QDir directory(QCoreApplication::applicationDirPath() + QStringLiteral("/plugins/video/"));
  unloadPlugins();
  auto* infos = additionalInformations(__LINE__, "nubo::grab::video::VideoEncoder::refreshPlugins");
  for (const QFileInfo& file : directory.entryInfoList()) {
    if (!file.isSymLink() && !file.baseName().isEmpty() && QLibrary::isLibrary(file.absoluteFilePath()))
      loadPlugin(file, infos);
  }
}

void VideoEncoder::loadPlugin(const QFileInfo& file, QList<ThirdPartyInfos>* infos) {
  auto library = std::make_unique<QLibrary>(file.absoluteFilePath());
  const bool isCutOff = nubo::util::isCutOff(file.absoluteFilePath());
  if (isCutOff || !library->load()) {
    const QString error = isCutOff ? QStringLiteral("the file is not complete") : library->errorString();
    logFailure(__LINE__, "nubo::grab::video::VideoEncoder::refreshPlugins",
               "Loading of video encoder plugin: '%s' failed with error: %s", file.baseName().toLocal8Bit().constData(),
               error.toLocal8Bit().constData());
    return;
  }
  const auto doRegister = reinterpret_cast<bool (*)()>(library->resolve("doRegister"));
  const auto getInfos = reinterpret_cast<ThirdPartyInfos (*)()>(library->resolve("getInfos"));
  // Deleting a QLibrary leaves the library loaded, as it must stay when its registrations may still be used.
  if (doRegister && doRegister()) m_Libraries.append(library.release());
  if (getInfos && infos) {
    const ThirdPartyInfos record = getInfos();
    infos->append({detached(record.name), detached(record.version), detached(record.licence), detached(record.url)});
  }
}

bool VideoEncoder::registerEncoder(EncoderFactory factory, const QString& extension, const QString& description,
                                   void* userData) {
  const QString key = detached(extension.toUpper());
  if (m_Encoders.count(key) != 0) {
    logFailure(__LINE__, "nubo::grab::video::VideoEncoder::registerEncoder",
               "You could not register the same file extension twice!");
    return false;
  }
  m_Encoders[key] = {factory, userData};
  m_LoadableFiles[key] = detached(description);
  return true;
}

Encoder* VideoEncoder::getEncoder(const QString& fileName) {
  const auto entry = m_Encoders.find(QFileInfo(fileName).completeSuffix().toUpper());
  return entry == m_Encoders.end() ? nullptr : entry->second.factory(entry->second.userData);
}

const std::map<QString, QString>* VideoEncoder::getLoadableFiles() { return &m_LoadableFiles; }

void VideoEncoder::unloadPlugins() {
  m_Encoders.clear();
  m_LoadableFiles.clear();
  for (QLibrary* library : m_Libraries) {
    library->unload();
    delete library;
  }
  m_Libraries.clear();
  if (auto* infos = additionalInformations(__LINE__, "nubo::grab::video::VideoEncoder::unloadPlugins")) infos->clear();
}

}  // namespace nubo::grab::video
