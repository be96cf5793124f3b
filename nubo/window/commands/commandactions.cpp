#include "nubo/window/commands/commandactions.h"

#include <QAction>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>
#include <QToolBar>
#include <algorithm>
#include <limits>

#include "kernel/main/commandmanager.h"
#include "kernel/main/modulemanager.h"
#include "nubo/window/commands/commandrunner.h"
#include "nubo/window/look/mnemonics.h"

namespace nubo::window {

using main::CommandGUIDescriptor;

CommandActions::CommandActions(const CommandRunner& runner, QObject* parent) : QObject(parent), m_Runner(runner) {
  main::ModuleManager* modules = main::ModuleManager::getInstance();
  for (const QString& name : modules->names())
    for (const main::GUIDescriptor* description : modules->getModule(name)->getGUIDescriptions())
      if (const auto* descriptor = dynamic_cast<const CommandGUIDescriptor*>(description)) addEntry(*descriptor);
}

void CommandActions::addEntry(const CommandGUIDescriptor& descriptor) {
  main::Command* command = main::CommandManager::getInstance()->find(descriptor.getCommandName());
  if (!command || command->isProgrammatic()) return;
  QAction*& action = m_Actions[descriptor.getCommandName()];
  if (!action) action = createAction(command, descriptor);
  m_Entries.push_back(
      {action, descriptor.getGroup(), descriptor.getPosition(), descriptor.getFlag() | command->getPlacement()});
}

QAction* CommandActions::createAction(main::Command* command, const CommandGUIDescriptor& descriptor) {
  const QString& title = descriptor.getLabel();
  const bool asks = !command->getParameterSets().empty();
  auto* action = new QAction(asks ? title + QStringLiteral("…") : title, this);
  action->setObjectName(QStringLiteral("command:") + command->getName());
  if (descriptor.getIcon()) action->setIcon(*descriptor.getIcon());
  const QKeySequence keys(descriptor.getShortcut());
  const auto isTaken = [&keys](const Entry& entry) { return entry.action->shortcut() == keys; };
  if (!keys.isEmpty() && std::none_of(m_Entries.begin(), m_Entries.end(), isTaken)) action->setShortcut(keys);
  action->setToolTip(command->getDescriptor()->getDescription());
  action->setStatusTip(command->getDescriptor()->getDescription());
  connect(action, &QAction::triggered, this, [this, command, title] { emit triggered(command, title); });
  // Commands tell of it on any thread.
  const auto update = [this, action, command] { updateEnabled(action, command); };
  connect(command->monitor(), &main::CommandMonitor::enabledChanged, action, update);
  connect(&m_Runner, &CommandRunner::started, action, update);
  connect(&m_Runner, &CommandRunner::ended, action, update);
  update();
  return action;
}

void CommandActions::updateEnabled(QAction* action, const main::Command* command) const {
  action->setEnabled(command->isEnabled() && !m_Runner.isRunning(*command));
}

int CommandActions::groupPosition(int flag, const QString& group) const {
  main::ModuleManager* modules = main::ModuleManager::getInstance();
  int position = std::numeric_limits<int>::max();
  for (const QString& name : modules->names()) {
    const auto& positions = modules->getModule(name)->getGroupPositions();
    const auto groups = positions.find(flag);
    if (groups == positions.end()) continue;
    const auto found = groups->second.find(group);
    if (found != groups->second.end()) position = std::min(position, found->second.value);
  }
  return position;
}

std::vector<CommandActions::Group> CommandActions::groupsFor(int flag) const {
  std::vector<Entry> entries;
  std::copy_if(m_Entries.begin(), m_Entries.end(), std::back_inserter(entries),
               [flag](const Entry& entry) { return entry.places & flag; });
  const auto order = [&](const Entry& entry) {
    return std::make_tuple(groupPosition(flag, entry.group), entry.group, entry.position);
  };
  std::stable_sort(entries.begin(), entries.end(), [&](const Entry& a, const Entry& b) { return order(a) < order(b); });
  std::vector<Group> groups;
  for (const Entry& entry : entries) {
    if (groups.empty() || groups.back().title != entry.group) groups.push_back({entry.group, {}});
    if (!groups.back().actions.contains(entry.action)) groups.back().actions << entry.action;
  }
  return groups;
}

void CommandActions::addMenus(QMainWindow* window, QAction* before) {
  for (const Group& group : groupsFor(CommandGUIDescriptor::Menu)) {
    auto* menu = new QMenu(group.title, window);
    menu->setObjectName(QStringLiteral("group:") + group.title);
    menu->setToolTipsVisible(true);
    menu->addActions(group.actions);
    window->menuBar()->insertMenu(before, menu);
    addMnemonics(group.actions);
  }
  addMnemonics(window->menuBar()->actions());
}

void CommandActions::addToolBars(QMainWindow* window) {
  for (const Group& group : groupsFor(CommandGUIDescriptor::ToolBar)) {
    QToolBar* bar = window->addToolBar(group.title);
    bar->setObjectName(QStringLiteral("toolBar:") + group.title);
    bar->addActions(group.actions);
  }
}

void CommandActions::addSettings(QMenu* menu) {
  for (const Group& group : groupsFor(CommandGUIDescriptor::Settings)) {
    menu->addSection(group.title);
    menu->addActions(group.actions);
    addMnemonics(menu->actions());
  }
}

}  // namespace nubo::window
