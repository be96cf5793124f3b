// Ctrl-C as a signal of Qt's.
#pragma once

#include <QObject>

QT_BEGIN_NAMESPACE
class QSocketNotifier;
QT_END_NAMESPACE

namespace nubo::app {

/// Catches SIGINT, SIGTERM and, unless that is ignored, SIGHUP as long as it lives. One at a time; application thread.
class Interrupt : public QObject {
  Q_OBJECT
 public:
  Interrupt();
  ~Interrupt() override;

 signals:
  /// Emitted on the application thread by its event loop.
  void interrupted();

 private:
  QSocketNotifier* mp_Notifier;
};

}  // namespace nubo::app
