#include "kernel/main/overseer.h"

#include <QFileInfo>
#include <QSettings>
#include <QStandardPaths>
#include <QThread>
#include <QThreadStorage>
#include <atomic>
#include <utility>

#include "kernel/log/logger.h"
#include "kernel/main/settingsoverlay.h"
#include "kernel/util/delegate.h"

namespace nubo::main {

namespace {

std::atomic<Overseer*> instance{nullptr};

QString whyNotWritten(const QSettings& settings) {
  // What is read may be nonsense, and is written over.
  if (settings.status() != QSettings::AccessError) return QString();
  return QStringLiteral("the settings cannot be written to %1").arg(settings.fileName());
}

/// Tells once when what was set is not written.
class Settings : public QSettings {
 public:
  explicit Settings(const QString& fileName) : QSettings(fileName, QSettings::IniFormat) {}

 protected:
  /// Changes are written in the event that follows them.
  bool event(QEvent* event) override {
    const bool isHandled = QSettings::event(event);
    const QString failure = whyNotWritten(*this);
    if (!failure.isEmpty() && !std::exchange(m_Told, true))
      NUBO_LOG(log::Failure, "nubo::main::Overseer::getQSettings", failure);
    return isHandled;
  }

 private:
  bool m_Told = false;
};

/// Made anew when the program has come to use another file. Qt's storage rather than the language's, since a
/// thread that Qt waited for has emptied it, and so has written its settings.
QThreadStorage<std::shared_ptr<QSettings>>& settingsOfThread() {
  static QThreadStorage<std::shared_ptr<QSettings>> storage;
  return storage;
}

QString userSettingsFile() {
  return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) + QStringLiteral("/nubo/nubo.ini");
}

}  // namespace

struct Overseer::Private {
  QString settingsFile;
};

Overseer::Overseer(const QString& settingsFile)
    : d(std::make_unique<Private>()),
      m_Processor(std::make_unique<CommandProcessor>()),
      mp_ApplicationThread(QThread::currentThread()) {
  d->settingsFile = QFileInfo(settingsFile.isEmpty() ? userSettingsFile() : settingsFile).absoluteFilePath();
  util::WorkerDelegate::open();
  instance = this;
}

Overseer::~Overseer() {
  m_Processor->shutDown();
  util::WorkerDelegate::close();
  settingsOfThread().setLocalData(nullptr);
  instance = nullptr;
}

Overseer* Overseer::getInstance() { return instance; }

QSettings* Overseer::getQSettings() {
  if (const SettingsOverlay* overlay = SettingsScope::current()) return overlay->settings();
  std::shared_ptr<QSettings>& settings = settingsOfThread().localData();
  if (!settings || settings->fileName() != d->settingsFile) settings = std::make_shared<Settings>(d->settingsFile);
  return settings.get();
}

QSettings* nuboSettings() {
  Overseer* overseer = Overseer::getInstance();
  return overseer ? overseer->getQSettings() : nullptr;
}

QString writeSettings() {
  if (!nuboSettings() || SettingsScope::current()) return QString();  // an overlay is never written
  // All objects on one file share what is to be written, but each keeps the failures that it met.
  QSettings settings(nuboSettings()->fileName(), QSettings::IniFormat);
  settings.sync();
  return whyNotWritten(settings);
}

}  // namespace nubo::main
