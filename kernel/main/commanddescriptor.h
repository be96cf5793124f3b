// What a command is called and where user interfaces offer it.
#pragma once

#include <QIcon>
#include <QString>
#include <memory>

#include "kernel/visibility.h"

namespace nubo::main {

/// The name identifies a command among all modules and on the command line; the description is for the user.
class NUBO_KERNEL_EXPORT CommandDescriptor {
 public:
  CommandDescriptor(const QString& description, const QString& commandName)
      : m_Description(description), m_CommandName(commandName) {}
  const QString& getDescription() const { return m_Description; }
  const QString& getCommandName() const { return m_CommandName; }

 private:
  QString m_Description;
  QString m_CommandName;
};

/// An entry that a module contributes to the user interface.
class NUBO_KERNEL_EXPORT GUIDescriptor {
 public:
  virtual ~GUIDescriptor();
};

/// Offers a command in a group of a menu, tool bar or the settings.
class NUBO_KERNEL_EXPORT CommandGUIDescriptor : public GUIDescriptor {
 public:
  enum GUIFLAG { Menu = 1, ToolBar = 2, Settings = 8 };

  /// Within its group a command stands at `position`, smaller first. Takes ownership of the icon,
  /// which may be null.
  CommandGUIDescriptor(GUIFLAG flag, const QString& group, int position, const QString& commandName,
                       const QString& label, QIcon* icon);
  ~CommandGUIDescriptor() override;

  GUIFLAG getFlag() const { return m_Flag; }
  const QString& getGroup() const { return m_Group; }
  int getPosition() const { return m_Position; }
  const QString& getCommandName() const { return m_CommandName; }
  const QString& getLabel() const { return m_Label; }
  const QIcon* getIcon() const { return mp_Icon.get(); }
  /// The keys that run it, such as "F12", in user interfaces that have no other use for them; empty: there are none.
  void setShortcut(const QString& keys) { m_Shortcut = keys; }
  const QString& getShortcut() const { return m_Shortcut; }

 private:
  GUIFLAG m_Flag;
  QString m_Group;
  int m_Position;
  QString m_CommandName;
  QString m_Label;
  std::unique_ptr<QIcon> mp_Icon;
  QString m_Shortcut;
};

}  // namespace nubo::main
