#include "nubo/cli/runsettings.h"

#include <algorithm>

#include "kernel/main/commandmanager.h"
#include "nubo/cli/report.h"

namespace nubo::app {

namespace {

bool sharesGroup(const main::Command& one, const main::Command& other) {
  for (const auto& a : one.getGUIDescriptors())
    for (const auto& b : other.getGUIDescriptors())
      if (a->getGroup() == b->getGroup()) return true;
  return false;
}

}  // namespace

std::vector<main::Command*> settingsCommandsOf(const main::Command& command) {
  std::vector<main::Command*> found;
  // A settings command's parameters are stored, whosever they are.
  if (dynamic_cast<const main::SettingsCommand*>(&command)) return found;
  const main::CommandManager* commands = main::CommandManager::getInstance();
  for (const QString& name : commands->names()) {
    main::Command* other = commands->find(name);
    if (dynamic_cast<const main::SettingsCommand*>(other) && sharesGroup(command, *other)) found.push_back(other);
  }
  return found;
}

RunSettings::RunSettings(main::Command& command, Arguments& arguments) {
  const QStringList own = optionNames(command);
  for (main::Command* settings : settingsCommandsOf(command)) {
    const QStringList names = optionNames(*settings);
    const auto isOther = [&](const Argument& argument) {
      return own.contains(argument.name) || !names.contains(argument.name);
    };
    const auto taken = std::stable_partition(arguments.begin(), arguments.end(), isOther);
    if (taken == arguments.end()) continue;
    Part part{settings->getName(), {}};
    std::copy(taken, arguments.end(), std::back_inserter(part.arguments));
    arguments.erase(taken, arguments.end());
    m_All += part.arguments;
    m_Parts.push_back(part);
  }
}

QString RunSettings::apply(main::CommandProcessor& processor, Report& report) {
  if (m_Parts.empty()) return QString();
  mp_Overlay = std::make_shared<main::SettingsOverlay>();
  const main::SettingsScope scope(mp_Overlay);
  for (const Part& part : m_Parts)
    if (const QString error = apply(part, processor, report); !error.isEmpty()) return error;
  mp_Overlay->seal();
  return QString();
}

void RunSettings::isolate() {
  if (!mp_Overlay) mp_Overlay = std::make_shared<main::SettingsOverlay>();
}

/// A command of its own, made here, starts from the overlay, and the registered one keeps what it shows.
QString RunSettings::apply(const Part& part, main::CommandProcessor& processor, Report& report) const {
  const std::unique_ptr<main::Command> command(main::CommandManager::getInstance()->create(part.command));
  auto* settings = dynamic_cast<main::SettingsCommand*>(command.get());
  if (!settings) return QStringLiteral("%1 is not available here").arg(part.command);
  if (const QString error = bindArguments(*settings, part.arguments); !error.isEmpty()) return error;
  settings->setFireEvent(false);
  settings->setRunSettings(mp_Overlay);
  const QStringList before = report.takeFailures();
  processor.processCommand(settings, main::CommandProcessor::Wait, true);
  const QStringList failures = report.takeFailures();
  report.keepFailures(before);
  for (const QString& bound : otherValues(*settings, "holds")) report.note(bound);
  return failures.join(QStringLiteral("; "));
}

}  // namespace nubo::app
