#include "kernel/main/overseer.h"

#include <QFileInfo>
#include <QSettings>
#include <QStandardPaths>
#include <QThread>
#include <QThreadStorage>
#include <atomic>

#include "kernel/util/delegate.h"

namespace nubo::main {

namespace {

std::atomic<Overseer*> instance{nullptr};

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
  std::shared_ptr<QSettings>& settings = settingsOfThread().localData();
  if (!settings || settings->fileName() != d->settingsFile)
    settings = std::make_shared<QSettings>(d->settingsFile, QSettings::IniFormat);
  return settings.get();
}

QSettings* nuboSettings() {
  Overseer* overseer = Overseer::getInstance();
  return overseer ? overseer->getQSettings() : nullptr;
}

}  // namespace nubo::main
