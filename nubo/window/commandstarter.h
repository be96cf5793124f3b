// Runs commands for the user, and asks what shall become of those that run.
#pragma once

#include <QList>
#include <QObject>

#include "kernel/main/command.h"

QT_BEGIN_NAMESPACE
class QWidget;
QT_END_NAMESPACE

namespace nubo::window {

class CommandDock;
class CommandRunner;
class MessageBar;
class PanelArea;
class ParameterDialog;
class RunningCommand;
class SavedViews;
struct CommandCall;
class ViewPanel;

/// What it is given must outlive it. Application thread.
class CommandStarter : public QObject {
  Q_OBJECT
 public:
  CommandStarter(CommandRunner& runner, PanelArea& panels, MessageBar& messages, CommandDock& dock, QWidget* window);

  /// Views that a command can be run for, one after the other. They outlive this.
  void setViews(SavedViews& views) { mp_Views = &views; }
  /// Asks for the command's values, if it takes any, and runs it with them; `title` is what the user calls it.
  void run(main::Command* command, const QString& title);
  /// Asks first where a command runs for one of the panels.
  void closePanels(const QList<ViewPanel*>& panels);
  /// Whether all that runs may be ended, which it then is asked to.
  [[nodiscard]] bool endsAll();

 private:
  void ask(main::Command* command, const QString& title);
  void askBeside(ParameterDialog* dialog);
  void repeat(const CommandCall& call);
  void start(const CommandCall& call);
  void holdView(const RunningCommand* run);
  void watch(const RunningCommand* run);
  bool confirmsClosing(const QList<RunningCommand*>& runs);
  bool confirmsQuitting(const QList<RunningCommand*>& runs);

  CommandRunner& m_Runner;
  PanelArea& m_Panels;
  MessageBar& m_Messages;
  CommandDock& m_Dock;
  QWidget* mp_Window;
  SavedViews* mp_Views = nullptr;
};

}  // namespace nubo::window
