// What the host runs for its users: a named operation with typed parameters.
#pragma once

#include <QObject>
#include <atomic>
#include <memory>
#include <vector>

#include "kernel/main/commanddescriptor.h"
#include "kernel/main/parameterset.h"
#include "kernel/main/settingsoverlay.h"
#include "kernel/main/typesolver.h"

QT_BEGIN_NAMESPACE
class QImage;
class QWidget;
QT_END_NAMESPACE

namespace nubo::main {

/// Tells user interfaces what happens to a command. Signals are emitted on whichever thread caused
/// them; receivers on the application thread connect as usual and are queued.
class NUBO_KERNEL_EXPORT CommandMonitor : public QObject {
  Q_OBJECT
 signals:
  void textChanged(const QString& text);
  /// Figures that go with the text and change more often.
  void detailChanged(const QString& detail);
  /// Percentage 0 to 100, or -1 while it is not known.
  void processedChanged(int percent);
  /// Why what the log calls a failure happened, for whoever says both in one line.
  void reasonGiven(const QString& reason);
  /// The run was asked to end, and did so before all was done. `extent` says how far it came: "14 of 2,000 frames".
  void endedEarly(const QString& extent);
  /// Nothing will come of the run any more, which goes on until it is asked to end.
  void stuck();
  /// A figure of what the run has made, for programs to read: "frames", "width". A later one of that name replaces it.
  void factGiven(const QString& name, const QVariant& value);
  /// A small picture of what the run has made.
  void previewGiven(const QImage& picture);
  void enabledChanged(bool enabled);
  void started();
  void finished();
};

/// A command is registered by a module or made by code, and executed on a command thread. Derived
/// commands fill the protected attributes in their constructors.
class NUBO_KERNEL_EXPORT Command {
 public:
  /// Takes ownership of both; each may be null.
  Command(CommandDescriptor* descriptor, CommandGUIDescriptor* guiDescriptor);
  virtual ~Command();

  /// Converts `values`, parameter by parameter, into the command's own set with the same ID and makes
  /// that the current one. A parameter without a value takes its default. False, with everything as it
  /// was, when there is no such set, a value does not fit, or a required one has neither. Not while the
  /// command runs.
  virtual bool setParameters(const ParameterSet& values);
  /// A window or a widget of the command's own in place of the generated dialog; null: none. It stays the command's;
  /// application thread.
  virtual QWidget* getGUIWindow();
  virtual QWidget* getCommandWidget();
  /// A new command of the same kind, made by the creation function registered for its name, with a
  /// copy of the current values. Null for commands that were not registered. The caller owns it, and
  /// hands it to the command processor in place of this one where runsOnClone() says so.
  virtual Command* clone() const;
  /// Asks a running command to end. May be called on any thread, when nothing runs, and repeatedly.
  virtual void abort();
  /// Does the work, on a command thread. Failures go to the log, which is how user interfaces learn of them.
  virtual void execute() = 0;

  /// What the command reports of itself; any thread. Percentages are 0 to 100, or -1 while there is none.
  void updateText(const QString& text);
  void updateDetail(const QString& detail);
  void updateProcessed(int percent);
  void giveReason(const QString& reason);
  void updateEndedEarly(const QString& extent);
  void updateStuck();
  void giveFact(const QString& name, const QVariant& value);
  /// Of any size; user interfaces get a small one.
  void givePreview(const QImage& picture);
  void disableCommand(bool disable);

  bool isEnabled() const { return m_Enabled; }
  /// abort() ends a run, and what it has made so far is kept.
  bool isAbortable() const { return m_Abortable; }
  /// abort() ends a run, which then leaves nothing behind: a file that it was to replace stays.
  bool isCancellable() const { return m_Cancellable; }
  bool canBeStopped() const { return m_Abortable || m_Cancellable; }
  /// The settings that the next runs have in place of the application's; null: those. Not while the command runs.
  void setRunSettings(const std::shared_ptr<SettingsOverlay>& settings) { mp_RunSettings = settings; }
  bool isProgrammatic() const { return m_Programmatic; }
  /// True: every run uses a clone, so that several can run at once.
  bool runsOnClone() const { return m_RunsOnClone; }
  int getPlacement() const { return m_Placement; }
  CommandMonitor* monitor() const { return mp_Monitor.get(); }
  const CommandDescriptor* getDescriptor() const { return mp_Descriptor.get(); }
  QString getName() const;
  const std::vector<std::unique_ptr<CommandGUIDescriptor>>& getGUIDescriptors() const { return m_GUIDescriptors; }
  std::vector<ParameterSet>& getParameterSets() { return m_ParameterSets; }
  /// Makes the set with this ID the current one as its values stand; false if there is none.
  bool selectParameterSet(int id);

 protected:
  /// A copy has a monitor of its own; the copied sets share their parameters with the original's.
  Command(const Command& other);
  Command& operator=(const Command& other);

  std::vector<ParameterSet> m_ParameterSets;
  ParameterSet* mp_CurrentParameterSet = nullptr;  ///< into m_ParameterSets; null until one is chosen
  int m_CurrentParameterSetID = -1;
  TypeSolver m_TypeSolver;
  bool m_Programmatic = false;  ///< made by code with its inputs; never offered in a menu
  bool m_RunsOnClone = false;
  std::atomic<bool> m_Aborted{false};  ///< set by abort(); false again when a run begins
  bool m_Abortable = false;
  bool m_Cancellable = false;
  bool m_Undoable = false;
  int m_Placement = 0;  ///< where user interfaces may offer it: bits of CommandGUIDescriptor::GUIFLAG

  std::vector<std::unique_ptr<CommandGUIDescriptor>> m_GUIDescriptors;

 private:
  friend class CommandProcessor;
  ParameterSet* findParameterSet(int id);
  void run();

  std::unique_ptr<CommandDescriptor> mp_Descriptor;
  std::unique_ptr<CommandMonitor> mp_Monitor;
  std::shared_ptr<SettingsOverlay> mp_RunSettings;
  std::atomic<bool> m_Enabled{true};
};

/// A command that stores settings.
class NUBO_KERNEL_EXPORT SettingsCommand : public Command {
 public:
  using Command::Command;
  ~SettingsCommand() override;
  /// Whether "SETTINGS_CHANGED" is fired after a successful run (the default).
  void setFireEvent(bool fire) { m_FireEvent = fire; }

 protected:
  bool m_FireEvent = true;
};

}  // namespace nubo::main
