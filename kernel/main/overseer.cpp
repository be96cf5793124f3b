#include "kernel/main/overseer.h"

#include <QFileInfo>
#include <QSettings>
#include <QStandardPaths>
#include <QThread>
#include <atomic>

#include "kernel/util/delegate.h"

namespace nubo::main {

namespace {

std::atomic<Overseer*> instance{nullptr};

/// Ends with its thread; made anew when the program has come to use another file.
thread_local std::unique_ptr<QSettings> settingsOfThread;

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
  settingsOfThread.reset();
  instance = nullptr;
}

Overseer* Overseer::getInstance() { return instance; }

QSettings* Overseer::getQSettings() {
  if (!settingsOfThread || settingsOfThread->fileName() != d->settingsFile) {
    settingsOfThread = std::make_unique<QSettings>(d->settingsFile, QSettings::IniFormat);
  }
  return settingsOfThread.get();
}

QSettings* nuboSettings() {
  Overseer* overseer = Overseer::getInstance();
  return overseer ? overseer->getQSettings() : nullptr;
}

}  // namespace nubo::main
