// The host's services, set up for one test and taken down after it.
#pragma once

#include <QTemporaryDir>

#include "kernel/main/commandprocessor.h"
#include "kernel/main/overseer.h"
#include "module_scene/gui/viewer.h"
#include "support/logcollector.h"
#include "support/waiting.h"

namespace nubo::test {

/// Overseer with settings of its own, and viewer; application thread.
struct Host {
  QTemporaryDir directory;
  main::Overseer overseer{directory.filePath(QStringLiteral("settings.ini"))};
  gui::Viewer viewer;

  QString file(const QString& name) const { return directory.filePath(name); }
  /// Runs what commands and their delegates have queued.
  bool settle() {
    const bool rest = waitUntil([this] { return !overseer.getCommandProcessor()->isRunning(); });
    QCoreApplication::processEvents();
    return rest;
  }
  /// Runs a command that stays the caller's, on a command thread, and returns when it has run.
  bool run(main::Command& command) {
    return overseer.getCommandProcessor()->processCommand(&command, main::CommandProcessor::Wait, true);
  }
};

}  // namespace nubo::test
