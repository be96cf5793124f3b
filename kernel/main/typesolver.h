// Conversion between parameters of different types.
#pragma once

#include <functional>
#include <memory>

#include "kernel/main/abstractparameter.h"

namespace nubo::main {

/// Any thread, as far as the parameters may be used there.
class NUBO_KERNEL_EXPORT TypeSolver {
 public:
  /// A value of some parameter's type.
  using Value = std::unique_ptr<void, std::function<void(void*)>>;

  /// Fills `target` with the value of `source` converted to the target's type: a copy for equal types,
  /// through text otherwise. False (and `target` as it was) when there is no value or it does not fit.
  [[nodiscard]] bool solve(AbstractParameter* target, const AbstractParameter* source) const;
  /// A new value for `target`, which stays as it is, from the value of `source` or from a text. Null
  /// where solve would return false.
  [[nodiscard]] Value convert(const AbstractParameter& target, const AbstractParameter& source) const;
  [[nodiscard]] Value convert(const AbstractParameter& target, const QString& text) const;
};

}  // namespace nubo::main
