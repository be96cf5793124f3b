// Keys whose action cannot be used now.
#pragma once

#include <QObject>

QT_BEGIN_NAMESPACE
class QWidget;
QT_END_NAMESPACE

namespace nubo::window {

/// Keeps the shortcuts of a window's disabled actions from whatever has the focus, which would take them for its own: a
/// user who presses the key of an action wants nothing else to happen. Application thread.
class UnavailableKeys : public QObject {
  Q_OBJECT
 public:
  explicit UnavailableKeys(QWidget* window);

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  QWidget* mp_Window;
};

}  // namespace nubo::window
