// The menu of help.
#pragma once

#include <QMenu>

namespace nubo::window {

/// Application thread.
class HelpMenu : public QMenu {
  Q_OBJECT
 public:
  explicit HelpMenu(QWidget* parent);

 private:
  void showKeys();
};

}  // namespace nubo::window
