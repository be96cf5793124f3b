// Edits a yes or no.
#pragma once

#include "nubo/window/parameters/parametereditor.h"

QT_BEGIN_NAMESPACE
class QCheckBox;
QT_END_NAMESPACE

namespace nubo::window {

/// A check box that says what its state means, since a description may say the opposite.
class FlagEditor : public ParameterEditor {
  Q_OBJECT
 public:
  explicit FlagEditor(const main::AbstractParameter& parameter);

  QString text() const override;
  void setText(const QString& text) override;
  QString hint() const override;

 private:
  void showMeaning();

  QCheckBox* mp_Box;
};

}  // namespace nubo::window
