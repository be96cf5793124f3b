// The registered commands, by name.
#pragma once

#include <QString>
#include <QStringList>

#include "kernel/main/command.h"

namespace nubo::main {

using CommandCreator = Command* (*)();

/// Holds the commands that modules registered. Application thread, except create(), which command
/// threads may call.
class NUBO_KERNEL_EXPORT CommandManager {
 public:
  static CommandManager* getInstance();
  /// Takes ownership. False (and the command deleted, with a record in the log) if the name is taken.
  bool add(Command* command, CommandCreator creator);
  /// Deletes the commands made by these creation functions (before their library is unloaded).
  void removeOf(const std::vector<CommandCreator>& creators);
  /// Hands them over, for a library whose commands are found no more but may still run.
  [[nodiscard]] std::vector<std::unique_ptr<Command>> takeOf(const std::vector<CommandCreator>& creators);
  Command* find(const QString& name) const;
  /// Sorted.
  QStringList names() const;
  /// A new command from the creation function registered for `name`; null if there is none.
  Command* create(const QString& name) const;

 private:
  CommandManager();
  ~CommandManager() = delete;  // used until the very end of the process
  struct Private;
  Private* d;
};

}  // namespace nubo::main
