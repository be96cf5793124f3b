// Asks for the values of a command's parameters.
#pragma once

#include <QDialog>
#include <vector>

#include "kernel/main/command.h"

QT_BEGIN_NAMESPACE
class QGridLayout;
class QLabel;
QT_END_NAMESPACE

namespace nubo::window {

class ParameterEditor;

/// Made from the first parameter set of a command, which must outlive it. Starts from the values that were accepted
/// last (of settings: from those in force), and accepts only values that can be used. Application thread.
class ParameterDialog : public QDialog {
  Q_OBJECT
 public:
  ParameterDialog(main::Command& command, const QString& title, QWidget* parent);
  ~ParameterDialog() override;

  /// What was entered, to be given to the command.
  main::ParameterSet values() const;

 public slots:
  /// Marks bad values where they stand and stays open while there are any.
  void accept() override;

 private:
  struct Line {
    const main::AbstractParameter* parameter;
    ParameterEditor* editor;
    QLabel* remark;
  };
  void addLine(QGridLayout* layout, const main::AbstractParameter& parameter);
  void showRemark(const Line& line);
  QString startText(const main::AbstractParameter& parameter) const;
  QString settingsKey(const main::AbstractParameter& parameter) const;

  main::Command& m_Command;
  std::vector<Line> m_Lines;
  bool m_Checked = false;  ///< bad values are marked from the first attempt on
};

}  // namespace nubo::window
