// Tells the user what went wrong, where the user looks.
#pragma once

#include <QElapsedTimer>
#include <QToolBar>

QT_BEGIN_NAMESPACE
class QFrame;
QT_END_NAMESPACE

namespace nubo::window {

class ElidedLabel;

/// Takes what the other tool bars leave of their row, also while it is empty: a message must neither cover a view nor
/// change its size. Application thread.
class MessageBar : public QToolBar {
  Q_OBJECT
 public:
  explicit MessageBar(QWidget* parent);

  /// Shows a failure; several that come together are counted, and the first is shown.
  void showFailure(const QString& text);
  /// Says why the failure happened that stands there alone; of several the log has more.
  void addReason(const QString& reason);
  /// Shows something worth knowing, unless a failure stands there.
  void showNotice(const QString& text);
  /// Something else goes on, of which an earlier notice says nothing; failures stay.
  void dismissNotice();
  /// Empty: none is shown.
  QString text() const;
  void dismiss();

 signals:
  /// The user wants to see the log.
  void logRequested();

 protected:
  void changeEvent(QEvent* event) override;

 private:
  void addWidgets();
  void display(const QString& text);
  void showColors();

  QFrame* mp_Frame;
  ElidedLabel* mp_Text;
  QString m_First;
  QElapsedTimer m_Latest;  ///< since the latest failure
  int m_Failures = 0;
};

}  // namespace nubo::window
