// Loads the modules at start and takes them down again.
#pragma once

#include <QString>
#include <QStringList>
#include <boost/function.hpp>
#include <memory>

#include "kernel/main/module.h"

namespace nubo::main {

/// Application thread only.
class NUBO_KERNEL_EXPORT ModuleManager {
 public:
  static ModuleManager* getInstance();

  /// Loads every library of the directory in name order: getFactory, createModule, its commands, and
  /// when all are there, their start-up actions. A library that cannot be loaded, lacks the entry
  /// points or throws is logged as a failure and skipped: neither it nor its commands are found, but it
  /// stays where it is until unloadModules, since what it has queued or started may still run.
  void loadModules(const QString& directory, const boost::function<void(QString)>& progress);
  /// In reverse order: shutdown actions, commands deleted, module deleted, recycleFactory, information
  /// object deleted, library unloaded. The command processor must be at rest; delegates are served.
  void unloadModules();

  /// By the name in the information object; null if not loaded.
  Module* getModule(const QString& name) const;
  QStringList names() const;

 private:
  ModuleManager();
  ~ModuleManager() = delete;  // used until the very end of the process
  struct Private;
  Private* d;
};

}  // namespace nubo::main
