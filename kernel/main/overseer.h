// The kernel's root object: settings, application thread, command processor.
#pragma once

#include <QString>
#include <memory>

#include "kernel/main/commandprocessor.h"

QT_BEGIN_NAMESPACE
class QSettings;
class QThread;
QT_END_NAMESPACE

namespace nubo::main {

/// Made once by the program, on the application thread, after the QApplication and before anything
/// else of the host; destroyed last, which ends running commands.
class NUBO_KERNEL_EXPORT Overseer {
 public:
  /// An empty settings file name means the user's own INI file.
  explicit Overseer(const QString& settingsFile = QString());
  ~Overseer();
  Overseer(const Overseer&) = delete;
  Overseer& operator=(const Overseer&) = delete;

  /// Null before the program made it and after it is gone.
  static Overseer* getInstance();

  CommandProcessor* getCommandProcessor() { return m_Processor.get(); }
  /// The application settings, one object per calling thread on the same file; not owned by the caller. They are
  /// written in a thread's event loop and at its end; where that fails in an event loop it is logged once. While the
  /// calling thread has a SettingsScope, those of its overlay.
  QSettings* getQSettings();
  QThread* getApplicationThread() const { return mp_ApplicationThread; }

 private:
  struct Private;
  std::unique_ptr<Private> d;
  std::unique_ptr<CommandProcessor> m_Processor;
  QThread* mp_ApplicationThread;
};

/// The application settings; see Overseer::getQSettings.
NUBO_KERNEL_EXPORT QSettings* nuboSettings();

/// Writes what any thread has set to the file. The empty text, or why the settings are lost with the program. Any
/// thread.
[[nodiscard]] NUBO_KERNEL_EXPORT QString writeSettings();

}  // namespace nubo::main
