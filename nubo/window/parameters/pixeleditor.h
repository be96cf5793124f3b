// Edits a number of pixels across or down.
#pragma once

#include <QSize>

#include "nubo/window/parameters/parametereditor.h"

QT_BEGIN_NAMESPACE
class QToolButton;
QT_END_NAMESPACE

namespace nubo::window {

/// Takes numbers, and lengths on paper as the command line does ("180mm@300dpi"), and offers usual sizes.
class PixelEditor : public ParameterEditor {
  Q_OBJECT
 public:
  explicit PixelEditor(const main::AbstractParameter& parameter);

  QString text() const override;
  void setText(const QString& text) override;
  double dotsPerInch() const override;
  /// How large that is on paper.
  QString hint() const override;
  /// Takes the side of a size that it edits.
  void setSize(QSize size, double dotsPerInch);

 signals:
  /// The user has chosen a usual size, both sides of it.
  void sizeChosen(QSize size, double dotsPerInch);

 private:
  class Box;
  void addSizes(QToolButton* button);

  Box* mp_Box;
};

}  // namespace nubo::window
