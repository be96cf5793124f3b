// Shows what a command has made.
#pragma once

#include <QPointer>
#include <QWidget>
#include <optional>

#include "nubo/window/commands/runningcommand.h"

QT_BEGIN_NAMESPACE
class QLabel;
class QPushButton;
QT_END_NAMESPACE

namespace nubo::window {

class ElidedLabel;

/// A small picture, the file's name and figures, and what can be done with it. Application thread.
class ResultView : public QWidget {
  Q_OBJECT
 public:
  explicit ResultView(QWidget* parent = nullptr);

  /// Shows that it runs, and what it has made when it has ended; until the next one.
  void follow(RunningCommand* run);

 signals:
  /// The user wants the same once more.
  void againRequested(const nubo::window::CommandCall& call);

 private:
  QPushButton* addButton(const QString& text, const char* name, void (ResultView::*function)());
  void showPreview(const QImage& picture);
  void showEnd(const RunningCommand& run);
  void open();
  void showFolder();
  void copy();
  void repeat();

  QLabel* mp_Picture;
  ElidedLabel* mp_Name;
  QLabel* mp_Figures;
  QList<QPushButton*> m_Buttons;
  QPointer<RunningCommand> mp_Run;
  std::optional<CommandCall> m_Call;
  QString m_File;
};

/// "4,000 × 3,000 pixels, 2.3 MB" or "250 frames, 10.0 s, 1,280 × 720 pixels, 2.3 MB": as much of it as is told.
/// Behind "Not complete: " where that is told, too.
QString figuresOf(const QVariantMap& facts, qint64 bytes);

}  // namespace nubo::window
