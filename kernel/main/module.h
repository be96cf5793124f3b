// What a plug-in module gives to the host.
#pragma once

#include <QString>
#include <boost/function.hpp>
#include <map>
#include <vector>

#include "kernel/main/commandmanager.h"
#include "kernel/main/informationobject.h"

namespace nubo::main {

/// Gives its name to the positions of groups.
class NUBO_KERNEL_EXPORT MenuAndToolbarManager {
 public:
  /// Where a group stands among others, smaller first.
  struct Position {
    Position(int value = 0) : value(value) {}
    int value;
  };
};

/// A loaded module. Made by its factory, owned by the module manager, used on the application thread.
class NUBO_KERNEL_EXPORT Module {
 public:
  /// Does not own the information object.
  explicit Module(InformationObject* information);
  virtual ~Module();
  /// Notes a command of this module (the command manager owns it) and collects its GUI descriptors.
  virtual void registerCommand(Command* command);
  /// Those collected by registerCommand, which stay their commands'.
  virtual std::vector<GUIDescriptor*>& getGUIDescriptions();
  /// Whether doStartupActions is to be called.
  virtual bool hasStartupActions();
  /// Called once when all modules are loaded. `progress` is never empty and shows a text to the waiting user. A module
  /// that throws here is found no more, and so are its commands.
  virtual void doStartupActions(boost::function<void(QString)> progress);
  /// Called before the module's commands are deleted, if the start-up did not fail.
  virtual void doShutdownActions();

  InformationObject* getInformationObject() const { return mp_Information; }
  /// GUI flag, then group title, to the group's position.
  const std::map<int, std::map<QString, MenuAndToolbarManager::Position>>& getGroupPositions() const {
    return m_GroupPositions;
  }

 protected:
  std::map<int, std::map<QString, MenuAndToolbarManager::Position>> m_GroupPositions;

 private:
  InformationObject* mp_Information;
  std::vector<GUIDescriptor*> m_GUIDescriptors;
};

/// Makes a library's module; one per library, reached through its exported functions
/// `extern "C" ModuleFactory* getFactory()` and `extern "C" void recycleFactory()`.
class NUBO_KERNEL_EXPORT ModuleFactory {
 public:
  ModuleFactory();
  virtual ~ModuleFactory();
  /// A new module, owned by the caller; called once.
  virtual Module* createModule() = 0;
  /// Called while the library loads; the module manager later makes each command once. True.
  bool registerPrimaryCommand(CommandCreator creator);
  const std::vector<CommandCreator>& getPrimaryCommands() const { return m_PrimaryCommands; }

 private:
  std::vector<CommandCreator> m_PrimaryCommands;
};

}  // namespace nubo::main
