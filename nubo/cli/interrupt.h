// Ctrl-C as a signal of Qt's.
#pragma once

#include <QElapsedTimer>
#include <QObject>

QT_BEGIN_NAMESPACE
class QSocketNotifier;
QT_END_NAMESPACE

namespace nubo::app {

/// Catches SIGINT, SIGTERM and, unless that is ignored, SIGHUP as long as it lives. What ends a whole process group,
/// such as `timeout`, sends the same wish several times at once: what comes within a second of a signal counts as that.
/// One at a time; application thread.
class Interrupt : public QObject {
  Q_OBJECT
 public:
  Interrupt();
  ~Interrupt() override;

 signals:
  /// Emitted on the application thread by its event loop; `signal` is the number of the system's.
  void interrupted(int signal);

 private:
  void read();
  bool isSameWish() const;

  QSocketNotifier* mp_Notifier;
  QElapsedTimer m_SinceLast;  ///< invalid until there has been a signal
};

}  // namespace nubo::app
