#include "kernel/main/commandmanager.h"

#include <algorithm>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

#include "kernel/log/logger.h"

namespace nubo::main {

struct CommandManager::Private {
  struct Entry {
    std::unique_ptr<Command> command;
    CommandCreator creator;
  };
  mutable std::mutex mutex;
  std::map<QString, Entry> entries;
};

CommandManager::CommandManager() : d(new Private) {}

CommandManager* CommandManager::getInstance() {
  static auto* manager = new CommandManager;
  return manager;
}

bool CommandManager::add(Command* command, CommandCreator creator) {
  std::unique_ptr<Command> owned(command);
  const QString name = command->getName();
  {
    const std::lock_guard<std::mutex> lock(d->mutex);
    if (!name.isEmpty() && d->entries.count(name) == 0) {
      d->entries[name] = {std::move(owned), creator};
      return true;
    }
  }
  NUBO_LOG(log::Failure, "nubo::main::CommandManager::add",
           QStringLiteral("The command name \"%1\" is missing or taken").arg(name));
  return false;
}

void CommandManager::removeOf(const std::vector<CommandCreator>& creators) {
  // Destroyed outside the lock: destructors are foreign code.
  takeOf(creators).clear();
}

std::vector<std::unique_ptr<Command>> CommandManager::takeOf(const std::vector<CommandCreator>& creators) {
  std::vector<std::unique_ptr<Command>> taken;
  const std::lock_guard<std::mutex> lock(d->mutex);
  for (auto entry = d->entries.begin(); entry != d->entries.end();) {
    if (std::find(creators.begin(), creators.end(), entry->second.creator) == creators.end()) {
      ++entry;
      continue;
    }
    taken.push_back(std::move(entry->second.command));
    entry = d->entries.erase(entry);
  }
  return taken;
}

Command* CommandManager::find(const QString& name) const {
  const std::lock_guard<std::mutex> lock(d->mutex);
  const auto found = d->entries.find(name);
  return found == d->entries.end() ? nullptr : found->second.command.get();
}

QStringList CommandManager::names() const {
  const std::lock_guard<std::mutex> lock(d->mutex);
  QStringList names;
  for (const auto& entry : d->entries) names.append(entry.first);
  return names;
}

Command* CommandManager::create(const QString& name) const {
  CommandCreator creator = nullptr;
  {
    const std::lock_guard<std::mutex> lock(d->mutex);
    const auto found = d->entries.find(name);
    if (found != d->entries.end()) creator = found->second.creator;
  }
  return creator ? creator() : nullptr;
}

}  // namespace nubo::main
