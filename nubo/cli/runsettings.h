// Settings that are given with a command, for its run only.
#pragma once

#include <memory>
#include <vector>

#include "kernel/main/commandprocessor.h"
#include "nubo/cli/commandarguments.h"

namespace nubo::app {

class Report;

/// The commands that store the settings of the command's group, which are all its parameters that can be given for one
/// run of it.
std::vector<main::Command*> settingsCommandsOf(const main::Command& command);

/// Arguments of a command that are parameters of those. Application thread.
class RunSettings {
 public:
  /// Leaves in `arguments` what is not a setting: what the command knows itself, and what nobody knows.
  RunSettings(main::Command& command, Arguments& arguments);
  /// Has the settings commands store what was given, as they bound it, in an overlay that nobody else sees. What was
  /// bounded is noted. Returns the empty text, or one line that says what was wrong.
  [[nodiscard]] QString apply(main::CommandProcessor& processor, Report& report);
  /// Keeps what the run stores from everybody, too.
  void isolate();
  /// For the run and all that is computed for it; null where no settings were given.
  const std::shared_ptr<main::SettingsOverlay>& overlay() const { return mp_Overlay; }
  const Arguments& arguments() const { return m_All; }

 private:
  struct Part {
    QString command;
    Arguments arguments;
  };
  QString apply(const Part& part, main::CommandProcessor& processor, Report& report) const;

  std::vector<Part> m_Parts;  ///< of each command with settings that were given
  Arguments m_All;
  std::shared_ptr<main::SettingsOverlay> mp_Overlay;
};

}  // namespace nubo::app
