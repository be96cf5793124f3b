// A command's file on standard output.
#pragma once

#include <QFileInfo>
#include <QTemporaryDir>
#include <memory>

#include "nubo/cli/commandarguments.h"

namespace nubo::app {

/// Stands in for a file that is called "-.png", with any suffix: the command writes an ordinary file, since formats go
/// back in theirs, and what has become of that is sent when it is whole.
class StandardOutput {
 public:
  /// Puts the ordinary file into the arguments. The empty text, or one line on what cannot be.
  [[nodiscard]] QString redirect(main::Command& command, Arguments& arguments);
  bool isUsed() const { return !m_FileName.isEmpty(); }
  /// Whether there is something to send.
  bool isWritten() const { return QFileInfo::exists(m_FileName); }
  /// The empty text, or why not all has arrived.
  [[nodiscard]] QString send() const;

 private:
  std::unique_ptr<QTemporaryDir> mp_Folder;
  QString m_FileName;
};

}  // namespace nubo::app
