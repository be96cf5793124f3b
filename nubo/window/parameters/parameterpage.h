// The lines of a dialog that ask for one set of a command's parameters.
#pragma once

#include <QStringList>
#include <QWidget>
#include <vector>

#include "kernel/main/command.h"

QT_BEGIN_NAMESPACE
class QGridLayout;
class QLabel;
QT_END_NAMESPACE

namespace nubo::window {

class ParameterEditor;

/// Starts from the values that were accepted last (of settings: from those in force). The command and its set must
/// outlive it. Application thread.
class ParameterPage : public QWidget {
  Q_OBJECT
 public:
  /// `narrow`: descriptions stand above what they describe.
  ParameterPage(main::Command& command, const main::ParameterSet& set, bool narrow, QWidget* parent);

  void setBusyFiles(const QStringList& files) { m_BusyFiles = files; }
  /// Marks bad values where they stand, from now on whenever a value changes. The first editor with one; null: all
  /// values can be used.
  ParameterEditor* check();
  /// Keeps what was entered for the next time.
  void remember() const;
  /// What was entered, to be given to the command.
  main::ParameterSet values() const;
  /// Whether names of files are to have a place for a view's name, and must, then.
  void setPlaceForView(bool wanted);
  /// What the command would take of the active view; nothing while values do not fit.
  main::ParameterSet::Frame frame() const;
  bool doValuesFit() const;
  /// Tells anew what the command would do.
  void refresh() { showRemarks(); }

 signals:
  /// Remarks came or went.
  void remarksChanged();
  /// A size was chosen, of which the command takes only the width.
  void shapeChosen(const QSize& size);

 private:
  struct Line {
    const main::AbstractParameter* parameter;
    ParameterEditor* editor;
    QLabel* remark;
    QString start;  ///< what the editor started from
  };
  void addLine(QGridLayout* layout, const main::AbstractParameter& parameter);
  QStringList showRemarks();
  void showSummary();
  void setSize(QSize size, double dotsPerInch);
  void showRemark(const Line& line, const QString& refusal);
  QStringList refusals() const;
  QString refusal(const Line& line) const;
  QString startText(const main::AbstractParameter& parameter) const;
  QString startName(const main::AbstractParameter& parameter, const QString& remembered) const;
  QString sceneName() const;
  QString settingsKey(const char* group, const main::AbstractParameter& parameter) const;

  const main::Command& m_Command;
  const main::ParameterSet& m_Set;
  const bool m_StoresSettings;
  const bool m_Narrow;
  std::vector<Line> m_Lines;
  QLabel* mp_Summary;
  QStringList m_BusyFiles;
  bool m_ForViews = false;
  bool m_Checked = false;  ///< bad values are marked from the first attempt on
};

}  // namespace nubo::window
