// Settings that hold for one run of a command.
#pragma once

#include <QHash>
#include <QString>
#include <QVariant>
#include <memory>

#include "kernel/visibility.h"

QT_BEGIN_NAMESPACE
class QSettings;
QT_END_NAMESPACE

namespace nubo::main {

/// A copy of the application settings in memory, which takes their place for those who have a SettingsScope with it.
/// What is set before seal() is seen by nobody else and goes with the overlay; what a run stores later goes through to
/// the application settings in storeChanges(). Threads may share one; seal() and storeChanges() are for its owner,
/// while nobody else sets anything.
class NUBO_KERNEL_EXPORT SettingsOverlay {
 public:
  /// Copies the settings in force on this thread.
  SettingsOverlay();
  ~SettingsOverlay();
  SettingsOverlay(const SettingsOverlay&) = delete;
  SettingsOverlay& operator=(const SettingsOverlay&) = delete;

  void seal();
  /// Those that were set since seal(), to the settings in force on this thread.
  void storeChanges();
  /// The calling thread's object on the copy; not owned by the caller.
  QSettings* settings() const;

 private:
  QString m_Name;
  std::unique_ptr<QSettings> mp_Settings;  ///< keeps the copy in memory
  QHash<QString, QVariant> m_Sealed;
};

/// For as long as it lives, the calling thread's settings are those of the overlay; null: those it had before.
class NUBO_KERNEL_EXPORT SettingsScope {
 public:
  explicit SettingsScope(std::shared_ptr<SettingsOverlay> overlay);
  ~SettingsScope();
  SettingsScope(const SettingsScope&) = delete;
  SettingsScope& operator=(const SettingsScope&) = delete;

  /// The calling thread's overlay; null without one.
  static SettingsOverlay* current();

 private:
  std::shared_ptr<SettingsOverlay> mp_Overlay;
  SettingsOverlay* mp_Before;
};

}  // namespace nubo::main
