// What modules offer, as actions in menus and tool bars.
#pragma once

#include <QHash>
#include <QObject>
#include <vector>

#include "kernel/main/command.h"
#include "kernel/main/module.h"

QT_BEGIN_NAMESPACE
class QAction;
class QMainWindow;
class QMenu;
QT_END_NAMESPACE

namespace nubo::window {

class CommandRunner;

/// Makes an action for each command that a loaded module describes for user interfaces, and places it by flags, groups
/// and positions. Actions follow whether their command can run. Application thread; the modules must outlive it.
class CommandActions : public QObject {
  Q_OBJECT
 public:
  CommandActions(const CommandRunner& runner, QObject* parent);

  /// A menu for each group, before `before`.
  void addMenus(QMainWindow* window, QAction* before);
  /// A tool bar for each group.
  void addToolBars(QMainWindow* window);
  /// A section for each group.
  void addSettings(QMenu* menu);

 signals:
  /// The user wants the command run; `title` is what the user interface calls it.
  void triggered(nubo::main::Command* command, const QString& title);

 private:
  struct Entry {
    QAction* action;
    QString group;
    int position;
    int places;  ///< bits of CommandGUIDescriptor::GUIFLAG
  };
  struct Group {
    QString title;
    QList<QAction*> actions;
  };
  void addEntry(const main::CommandGUIDescriptor& descriptor);
  QAction* createAction(main::Command* command, const main::CommandGUIDescriptor& descriptor);
  void updateEnabled(QAction* action, const main::Command* command) const;
  int groupPosition(int flag, const QString& group) const;
  std::vector<Group> groupsFor(int flag) const;

  const CommandRunner& m_Runner;
  std::vector<Entry> m_Entries;
  QHash<QString, QAction*> m_Actions;  ///< by command name
};

}  // namespace nubo::window
