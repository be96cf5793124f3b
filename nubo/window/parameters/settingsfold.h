// Settings that go with a command, where its values are asked for.
#pragma once

#include <QTimer>
#include <QWidget>
#include <functional>

#include "kernel/main/command.h"

QT_BEGIN_NAMESPACE
class QToolButton;
QT_END_NAMESPACE

namespace nubo::window {

class ParameterPage;

/// Folded until its user wants to see them. What is entered is stored as if the settings command had been run with it,
/// when the typing rests. The command must outlive it. Application thread.
class SettingsFold : public QWidget {
  Q_OBJECT
 public:
  SettingsFold(main::Command& settings, bool narrow, QWidget* parent);

  /// Has everything stored, and then calls `done`, which is dropped with the fold. False: a value cannot be used, and
  /// has the focus now.
  bool finish(const std::function<void()>& done);

 signals:
  /// Others may have to say something else of what they will do.
  void stored();
  void folded();

 private:
  void change();
  void store();
  void end();

  main::Command& m_Settings;
  QToolButton* mp_Button;
  ParameterPage* mp_Page;
  QStringList m_Stored;  ///< the values that stand in the settings
  QTimer m_Rest;         ///< runs while values change
  bool m_Storing = false;
  std::function<void()> m_Done;
};

}  // namespace nubo::window
