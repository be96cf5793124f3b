// Stands beside the views while commands take something of them.
#pragma once

#include <QDockWidget>
#include <QPointer>

QT_BEGIN_NAMESPACE
class QMainWindow;
class QStackedWidget;
QT_END_NAMESPACE

namespace nubo::window {

class ParameterDialog;
class ResultView;
class RunningCommand;
struct CommandCall;

/// Asks for a command's values, and then shows what came of it, in the same place: a view that became larger at the
/// start of a command would not be what was announced. Application thread.
class CommandDock : public QDockWidget {
  Q_OBJECT
 public:
  explicit CommandDock(QWidget* parent);

  /// Shows the dialog, which deletes itself when it closes, in place of one that is there.
  void ask(ParameterDialog* dialog);
  /// Shows what the command makes, if it makes files, unless a dialog is open.
  void follow(RunningCommand* run);

 signals:
  /// The user wants the same once more.
  void againRequested(const nubo::window::CommandCall& call);

 protected:
  void closeEvent(QCloseEvent* event) override;

 private:
  void dialogEnded();

  void makeRoom();
  void takeHeight(QMainWindow& window, int wanted);

  QStackedWidget* mp_Pages;
  ResultView* mp_Result;
  QPointer<ParameterDialog> mp_Dialog;
  bool m_HasResult = false;
};

}  // namespace nubo::window
