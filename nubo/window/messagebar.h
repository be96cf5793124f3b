// Tells the user what went wrong, where the user looks.
#pragma once

#include <QElapsedTimer>
#include <QFrame>

QT_BEGIN_NAMESPACE
class QLabel;
class QTabWidget;
QT_END_NAMESPACE

namespace nubo::window {

/// A bar over the upper edge of the pages of a tab widget, which keep their size: views must not change theirs because
/// of a message. Application thread.
class MessageBar : public QFrame {
  Q_OBJECT
 public:
  explicit MessageBar(QTabWidget* below);

  /// Shows a failure; several that come together are counted, and the first is shown.
  void showFailure(const QString& text);
  /// Shows something worth knowing, unless a failure stands there.
  void showNotice(const QString& text);
  QString text() const;
  void dismiss();

 signals:
  /// The user wants to see the log.
  void logRequested();

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;
  void changeEvent(QEvent* event) override;

 private:
  void display(const QString& text, bool isFailure);
  void place();

  QTabWidget* mp_Below;
  QLabel* mp_Text;
  QString m_First;
  QElapsedTimer m_Latest;  ///< since the latest failure
  int m_Failures = 0;
};

}  // namespace nubo::window
