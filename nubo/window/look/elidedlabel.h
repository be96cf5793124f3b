// A text in a place that it must not make larger.
#pragma once

#include <QLabel>

namespace nubo::window {

/// One line, of which it leaves out what there is no room for. Application thread.
class ElidedLabel : public QLabel {
  Q_OBJECT
 public:
  using QLabel::QLabel;
  QSize minimumSizeHint() const override;

 protected:
  void paintEvent(QPaintEvent* event) override;
  /// The width of that many, in pixels.
  int letters(int count) const { return count * fontMetrics().averageCharWidth(); }
};

}  // namespace nubo::window
