#include "kernel/main/module.h"

namespace nubo::main {

Module::Module(InformationObject* information) : mp_Information(information) {}

Module::~Module() = default;

void Module::registerCommand(Command* command) {
  for (const auto& descriptor : command->getGUIDescriptors()) m_GUIDescriptors.push_back(descriptor.get());
}

std::vector<GUIDescriptor*>& Module::getGUIDescriptions() { return m_GUIDescriptors; }

bool Module::hasStartupActions() { return false; }

void Module::doStartupActions(boost::function<void(QString)>) {}

void Module::doShutdownActions() {}

ModuleFactory::ModuleFactory() = default;

ModuleFactory::~ModuleFactory() = default;

bool ModuleFactory::registerPrimaryCommand(CommandCreator creator) {
  m_PrimaryCommands.push_back(creator);
  return true;
}

}  // namespace nubo::main
