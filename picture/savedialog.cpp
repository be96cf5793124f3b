#include "picture/savedialog.h"

#include <QFileDialog>
#include <QSettings>

#include "kernel/main/overseer.h"

namespace nubo::picture {

QFileDialog* newSaveDialog(const QString& title, const QStringList& filters, const QString& suffix,
                           const QString& directoryKey) {
  auto* dialog = new QFileDialog;
  dialog->setWindowTitle(title);
  dialog->setNameFilters(filters);
  dialog->setAcceptMode(QFileDialog::AcceptSave);
  dialog->setFileMode(QFileDialog::AnyFile);
  dialog->setDefaultSuffix(suffix);
  dialog->setDirectory(main::nuboSettings()->value(directoryKey).toString());
  return dialog;
}

}  // namespace nubo::picture
