#include "kernel/main/settingsoverlay.h"

#include <QSettings>
#include <QThreadStorage>
#include <atomic>

#include "kernel/main/overseer.h"

namespace nubo::main {

namespace {

thread_local SettingsOverlay* currentOverlay = nullptr;

/// Objects on a file share what is not written yet; and where no file can be, nothing ever is.
QString nameOfNoFile() {
  static std::atomic<int> count{0};
  return QStringLiteral("/dev/null/nubo-run-%1.ini").arg(++count);
}

QThreadStorage<std::shared_ptr<QSettings>>& overlayOfThread() {
  static QThreadStorage<std::shared_ptr<QSettings>> storage;
  return storage;
}

}  // namespace

SettingsOverlay::SettingsOverlay()
    : m_Name(nameOfNoFile()), mp_Settings(std::make_unique<QSettings>(m_Name, QSettings::IniFormat)) {
  if (const QSettings* base = nuboSettings())
    for (const QString& key : base->allKeys()) mp_Settings->setValue(key, base->value(key));
  seal();
}

SettingsOverlay::~SettingsOverlay() = default;

void SettingsOverlay::seal() {
  m_Sealed.clear();
  for (const QString& key : mp_Settings->allKeys()) m_Sealed[key] = mp_Settings->value(key);
}

void SettingsOverlay::storeChanges() {
  QSettings* base = nuboSettings();
  for (const QString& key : mp_Settings->allKeys())
    if (m_Sealed.value(key) != mp_Settings->value(key)) base->setValue(key, mp_Settings->value(key));
  for (auto sealed = m_Sealed.cbegin(); sealed != m_Sealed.cend(); ++sealed)
    if (!mp_Settings->contains(sealed.key())) base->remove(sealed.key());
  seal();
}

QSettings* SettingsOverlay::settings() const {
  std::shared_ptr<QSettings>& settings = overlayOfThread().localData();
  if (!settings || settings->fileName() != m_Name) settings = std::make_shared<QSettings>(m_Name, QSettings::IniFormat);
  return settings.get();
}

SettingsScope::SettingsScope(std::shared_ptr<SettingsOverlay> overlay)
    : mp_Overlay(std::move(overlay)), mp_Before(currentOverlay) {
  if (mp_Overlay) currentOverlay = mp_Overlay.get();
}

SettingsScope::~SettingsScope() {
  currentOverlay = mp_Before;
  // A thread that works on keeps nothing of what has gone.
  if (mp_Overlay && !mp_Before) overlayOfThread().setLocalData(nullptr);
}

SettingsOverlay* SettingsScope::current() { return currentOverlay; }

}  // namespace nubo::main
