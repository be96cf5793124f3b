// Edits a file name, with the file dialog of the command.
#pragma once

#include <QDir>
#include <QStringList>

#include "nubo/window/parameters/parametereditor.h"

QT_BEGIN_NAMESPACE
class QFileDialog;
class QLineEdit;
QT_END_NAMESPACE

namespace nubo::main {
class FileParameterPanelFactory;
}

namespace nubo::window {

/// Names without a directory lie in the one that the command's dialog starts in; names without a suffix get its
/// default. Files to be written are looked at beforehand.
class FileEditor : public ParameterEditor {
  Q_OBJECT
 public:
  FileEditor(const main::AbstractParameter& parameter, const main::FileParameterPanelFactory& factory);

  /// Room for a path.
  QSize sizeHint() const override;
  /// The complete file name.
  QString text() const override;
  /// Of a file that would be overwritten, the next name that is free is shown.
  void setText(const QString& text) override;
  QString refusal() const override;
  QString hint() const override;

 private:
  void choose();
  QString completed(const QString& name) const;

  const main::FileParameterPanelFactory& m_Factory;
  QLineEdit* mp_Line;
  bool m_Saves;
  QDir m_Directory;
  QString m_DefaultSuffix;
  QStringList m_Suffixes;  ///< lower case; empty: any
};

}  // namespace nubo::window
