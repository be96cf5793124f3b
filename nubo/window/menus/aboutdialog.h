// Tells what the program is made of.
#pragma once

#include <QDialog>

QT_BEGIN_NAMESPACE
class QTreeWidget;
QT_END_NAMESPACE

namespace nubo::window {

/// The program, its modules, and the libraries that these name.
class AboutDialog : public QDialog {
  Q_OBJECT
 public:
  explicit AboutDialog(QWidget* parent);

 private:
  void addModules(QTreeWidget* tree) const;
  void addReaders(QTreeWidget* tree) const;
};

}  // namespace nubo::window
