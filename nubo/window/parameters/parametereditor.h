// Widgets that edit one parameter of a command.
#pragma once

#include <QWidget>

#include "kernel/main/abstractparameter.h"

namespace nubo::window {

/// Edits the text of one value. Application thread.
class ParameterEditor : public QWidget {
  Q_OBJECT
 public:
  /// The editor that suits the parameter: by its panel factory, else by its type. The parameter must outlive it.
  static ParameterEditor* create(const main::AbstractParameter& parameter);

  virtual QString text() const = 0;
  virtual void setText(const QString& text) = 0;
  /// Empty, or a sentence that says what is wrong with the value.
  virtual QString refusal() const;
  /// Empty, or something to know about the value.
  virtual QString hint() const { return QString(); }
  /// Pixels per inch of paper at which a number of pixels was chosen; 0: none was.
  virtual double dotsPerInch() const { return 0; }

 signals:
  void changed();

 protected:
  explicit ParameterEditor(const main::AbstractParameter& parameter) : m_Parameter(parameter) {}
  /// Makes `editor` (and what stands beside it) fill this widget and take its focus.
  void fillWith(QWidget* editor, QWidget* beside = nullptr);

  const main::AbstractParameter& m_Parameter;
};

}  // namespace nubo::window
