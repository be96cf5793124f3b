// Asks for the values of a command's parameters.
#pragma once

#include <QDialog>
#include <QVector>

#include "kernel/main/command.h"

QT_BEGIN_NAMESPACE
class QCheckBox;
class QComboBox;
class QDialogButtonBox;
class QVBoxLayout;
QT_END_NAMESPACE

namespace nubo::window {

class ParameterPage;
class SettingsFold;

/// Made from the parameter sets of a command, which must outlive it; where there are several, the user chooses one at
/// the top. Accepts only values that can be used. Application thread.
class ParameterDialog : public QDialog {
  Q_OBJECT
 public:
  ParameterDialog(main::Command& command, const QString& title, QWidget* parent);

  /// Files that are being written, and must not be chosen.
  void setBusyFiles(const QStringList& files);
  /// What was entered for the chosen set, to be given to the command.
  main::ParameterSet values() const;
  /// Offers to run the command once for each of several views.
  void offerViews(int count);
  /// Whether the user wants that; then a file's name has a place for the view's.
  bool isForAllViews() const;
  /// Whether the command takes something of a view, which the dialog then stands beside.
  bool framesView() const;
  /// What it would take with the values as they stand.
  main::ParameterSet::Frame frame() const;
  /// The command finds other things around it now.
  void refresh();
  void focusFirst();
  /// Pixels in which it need not be scrolled when it is so wide.
  int wholeHeight(int width) const;

 public slots:
  /// Marks bad values where they stand and stays open while there are any.
  void accept() override;
  void done(int result) override;

 signals:
  void valuesChanged();
  /// It is still shown, and has the focus.
  void ending();
  /// The user wants pictures of this size, of which the command takes only the width.
  void shapeChosen(const QSize& size);

 private:
  void createForm();
  QWidget* createChoice();
  void addSettings(QVBoxLayout* layout);
  void finishSettings(int fold);
  void choose(int index);
  void fitHeight();
  ParameterPage* chosenPage() const;
  QString settingsKey() const;

  main::Command& m_Command;
  QWidget* mp_Form;  ///< all but the buttons
  QComboBox* mp_Choice;
  QCheckBox* mp_AllViews;
  QDialogButtonBox* mp_Buttons;
  QVector<ParameterPage*> m_Pages;  ///< one for each set, in their order
  QVector<SettingsFold*> m_Settings;
};

}  // namespace nubo::window
